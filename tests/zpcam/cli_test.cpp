// The zpcam program end to end against the simulator: output, files, exit statuses and the lines
// the camera received. Runs in the test's own network namespace.
#include <gtest/gtest.h>
#include <png.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <future>
#include <set>
#include <thread>

#include "frame_source.h"
#include "support/net_fixture.h"
#include "twport/tw_fixture.h"
#include "zpport/BorderXml.h"

namespace zptest {
namespace {

struct Outcome {
    int status;
    std::string out, err;
};

Outcome Zpcam(const std::string& args) {
    TempDir dir;
    const std::string command =
        std::string(ZPCAM_PATH) + " " + args + " >" + dir.File("out") + " 2>" + dir.File("err");
    const int raw = std::system(command.c_str());
    return {WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, ReadFile(dir.File("out")), ReadFile(dir.File("err"))};
}

// The lines after the open sequence (which ends with command 0x0A).
Lines AfterOpen(const Camera& camera) {
    const Lines all = camera.Lines();
    for (size_t i = all.size(); i-- > 0;) {
        if (all[i] == "#0A0A0000\\r\\n") return Lines(all.begin() + static_cast<long>(i) + 1, all.end());
    }
    return all;
}

const Lines kReadBack =
    Logged("#0A90|#0A9F|#0A48|#0A0702|#0A06|#0A40|#0A0E|#0A04|#0A9B|#0A82|#0A84|#0A5D|#0A9E");

TEST(Zpcam, InfoReportsTheCameraAndWritesTheTrace) {
    Camera camera("127.0.0.61", {"--serial", "4242", "--temperature", "-7", "--frame-capacity", "1234",
                                 "--first-frame", "10", "--last-frame", "109"});
    ASSERT_TRUE(camera.Ready());
    TempDir dir;
    const Outcome run = Zpcam("info 127.0.0.61 --log " + dir.File("trace.log"));
    EXPECT_EQ(run.status, 0) << run.err;
    for (const char* row :
         {"serial           4242\n", "type             class 12, variant 0", "temperature      -7 C\n",
          "frame capacity   1234 frames\n", "recorded frames  0-99 (latest frame index 99)\n"})
        EXPECT_NE(run.out.find(row), std::string::npos) << row << " in\n" << run.out;
    EXPECT_NE(ReadFile(dir.File("trace_0000008193.log")).find("#0A50"), std::string::npos);
}

TEST(Zpcam, SettingsGetThenSetSendsNothingAndChangesAreUploaded) {
    Camera camera("127.0.0.62");
    ASSERT_TRUE(camera.Ready());
    TempDir dir;
    const std::string file = dir.File("s.txt");
    ASSERT_EQ(Zpcam("settings get 127.0.0.62 -o " + file).status, 0);
    EXPECT_NE(ReadFile(file).find("\nroiWidth     = 1280 "), std::string::npos) << ReadFile(file);
    camera.ClearLog();
    Outcome run = Zpcam("settings set 127.0.0.62 " + file);
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out, "camera 127.0.0.62: settings unchanged\n");
    EXPECT_EQ(AfterOpen(camera), kReadBack);

    std::ofstream(file) << "# faster\nexposure = 400000\nframes = 500  # frames\n";
    camera.ClearLog();
    run = Zpcam("settings set 127.0.0.62 " + file);
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_NE(run.out.find("camera 127.0.0.62: exposure 0 -> 400000\n"), std::string::npos) << run.out;
    const Lines lines = AfterOpen(camera);
    for (const char* sent : {"#0A0E000001F4\\r\\n", "#0A07010190\\r\\n", "#0A07020190\\r\\n"})
        EXPECT_NE(std::find(lines.begin(), lines.end(), sent), lines.end()) << sent;
    EXPECT_NE(Zpcam("settings get 127.0.0.62").out.find("\nframes       = 500 "), std::string::npos);
}

TEST(Zpcam, FailuresGiveOneLineAndTheirExitStatus) {
    Camera camera("127.0.0.63", {"--result", "50=12"});
    ASSERT_TRUE(camera.Ready());
    TempDir dir;
    std::ofstream(dir.File("bad.txt")) << "exposure = 1\nexposur = 2\n";
    const struct {
        std::string args;
        int status;
        std::string err;  // start of standard error
    } cases[] = {
        {"", 2, "A subcommand is required"},
        {"info", 2, "CAMERA is required"},
        {"live 127.0.0.63 -n 0", 2, "zpcam: -n must be at least 1"},
        {"set-ip 127.0.0.63 10.0.0.300", 2, "zpcam: NEW-ADDRESS 10.0.0.300: expected an IPv4 address"},
        {"list --adapter x", 2, "zpcam: --adapter x: not an IPv4 address"},
        {"info 4242", 3, "zpcam: camera 4242: no camera with this serial number or name answered\n"},
        {"info 127.0.0.63", 4, "zpcam: camera 127.0.0.63: reading the temperature failed: "},
        {"settings set 127.0.0.63 " + dir.File("bad.txt"), 5,
         "zpcam: " + dir.File("bad.txt") + ":2: unknown field 'exposur'\n"},
        {"settings get 127.0.0.63 -o " + dir.File("no/such/dir"), 5,
         "zpcam: cannot write " + dir.File("no/such")},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.args);
        camera.ClearLog();
        const Outcome run = Zpcam(c.args);
        EXPECT_EQ(run.status, c.status);
        EXPECT_EQ(run.err.rfind(c.err, 0), 0u) << run.err;
        if (c.err.find("unknown field") != std::string::npos) {
            EXPECT_TRUE(camera.Lines().empty());  // a bad file is refused before the camera is opened
        }
    }
}

TEST(Zpcam, SetIpWritesTheAddressWords) {
    Camera camera("127.0.0.64");
    ASSERT_TRUE(camera.Ready());
    const Outcome run = Zpcam("set-ip 127.0.0.64 10.1.2.3/16");
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out,
              "camera 127.0.0.64: address 10.1.2.3 mask 255.255.0.0 (was 127.0.0.1 mask 255.0.0.0)\n");
    const Lines lines = camera.Lines();
    const Lines set = Logged("#0A4EFFFF0000|#0A4D0A010203|#0A5F");
    EXPECT_NE(std::search(lines.begin(), lines.end(), set.begin(), set.end()), lines.end());
}

// The camera leaves the recording state by the control channel once the trigger arrived.
TEST(Zpcam, RecordArmsTriggersAndWaitsForTheRecording) {
    Camera camera("127.0.0.65", {"--last-frame", "49"});
    ASSERT_TRUE(camera.Ready());
    EXPECT_EQ(Zpcam("record 127.0.0.65 --frames 5 --pre-trigger 5").status, 2);
    const struct {
        std::string state;  // forced after the trigger
        int status;
        std::string text;  // in standard output, or the start of standard error
    } cases[] = {
        {"04", 0, "camera 127.0.0.65: recording complete, frames 0-49\n"},
        {"01", 4, "zpcam: camera 127.0.0.65: waiting for the recording failed: the camera went idle"}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.state);
        ASSERT_EQ(camera.Control("state 01"), "OK");
        camera.ClearLog();
        auto run = std::async(std::launch::async, [] {
            return Zpcam("record 127.0.0.65 --frames 50 --pre-trigger 5 --trigger --wait");
        });
        for (int i = 0; i < 100; ++i) {
            const Lines lines = camera.Lines();
            if (std::find(lines.begin(), lines.end(), "#0A74\\r\\n") != lines.end()) break;
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
        ASSERT_EQ(camera.Control("state " + c.state), "OK");
        const Outcome outcome = run.get();
        EXPECT_EQ(outcome.status, c.status) << outcome.err;
        EXPECT_TRUE(outcome.out.find(c.text) != std::string::npos || outcome.err.rfind(c.text, 0) == 0)
            << outcome.out << outcome.err;
        const Lines lines = AfterOpen(camera);
        const Lines armed = Logged("#0A0E00000032|#0A040000002C|#0A1B|#0A74|#0A40");
        EXPECT_TRUE(std::equal(armed.begin(), armed.end(), lines.begin())) << ::testing::PrintToString(lines);
    }
}

std::set<std::string> Listing(const TempDir& dir) {
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(dir.Path()))
        names.insert(entry.path().filename().string());
    return names;
}

// The download requests the camera received.
Lines Requests(const Camera& camera) {
    Lines requests;
    for (const std::string& line : camera.Lines())
        if (line.rfind("#0A88", 0) == 0) requests.push_back(line.substr(0, 13));
    return requests;
}

// A PNG file's pixels (8-bit grey expected), through libpng; `size` receives width x 1000 + height.
std::string PngPixels(const std::string& path, unsigned int* size = nullptr) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    if (png_image_begin_read_from_file(&image, path.c_str()) == 0) return "unreadable";
    std::string pixels(PNG_IMAGE_SIZE(image), '\0');
    const bool grey = image.format == PNG_FORMAT_GRAY;
    if (png_image_finish_read(&image, nullptr, pixels.data(), 0, nullptr) == 0 || !grey) return "not grey";
    if (size != nullptr) *size = image.width * 1000 + image.height;
    return pixels;
}

// Checks every frame file in `dir` (all but the journal): named <ip>_NNNNNN<extension>, nothing
// temporary, holding the simulator's pixels of frame NNNNNN. Returns how many there are.
int CheckSavedFrames(const TempDir& dir, const std::string& ip, const std::string& extension) {
    int saved = 0;
    for (const auto& name : Listing(dir)) {
        if (name.find(".journal") != std::string::npos) continue;
        EXPECT_EQ(name.substr(0, ip.size() + 1) + name.substr(ip.size() + 7), ip + "_" + extension) << name;
        const std::string pixels =
            zpsim::RenderRawFrame(std::stoul(name.substr(ip.size() + 1, 6)), 1280, 1024, false);
        EXPECT_EQ(extension == ".png" ? PngPixels(dir.File(name)) : ReadFile(dir.File(name)), pixels) << name;
        ++saved;
    }
    return saved;
}

// PNG frames pixel for pixel, their border records in the XML file, --resume fetching only the missing
// frame, raw and JPEG files, a frame fetched again while the camera answers, and a frame that never
// arrives whole: exit 4, saved files untouched.
TEST(Zpcam, DownloadSavesFramesResumesAndKeepsCompleteFilesOnFailure) {
    Camera camera("127.0.0.66", {"--first-frame", "100", "--last-frame", "109"});
    ASSERT_TRUE(camera.Ready());
    TempDir dir;
    const std::string base = dir.File("127.0.0.66_00000");
    camera.ClearLog();
    Outcome run = Zpcam("download 127.0.0.66 --frames 2-6 -o " + dir.Path());
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(Requests(camera).size(), 5u);
    EXPECT_NE(run.out.find("127.0.0.66: 5 frames (0 saved before), 6553600 bytes"), std::string::npos)
        << run.out;
    const std::string xml = dir.File("127.0.0.66_000002-000006.xml");
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(PngPixels(base + std::to_string(2 + i) + ".png"),
                  zpsim::RenderRawFrame(102 + i, 1280, 1024, false));
        BORDER_DATA border{};
        ASSERT_EQ(ReadBorderDataFromXml(xml.c_str(), i, &border, sizeof border), 0u);
        EXPECT_EQ(int{border.FrameNumber}, 102 + i);  // a copy: the record is packed
    }
    TempDir other;
    ASSERT_EQ(Zpcam("download 127.0.0.66 --frames 9-9 --format jpeg -o " + other.Path()).status, 0);
    EXPECT_EQ(ReadFile(other.File("127.0.0.66_000009.jpg")).substr(0, 2), "\xFF\xD8");
    ASSERT_EQ(Zpcam("download 127.0.0.66 --frames 8-8 --format raw -o " + other.Path()).status, 0);
    EXPECT_EQ(ReadFile(other.File("127.0.0.66_000008.raw")), zpsim::RenderRawFrame(108, 1280, 1024, false));
    // Live frames: PNG decoded from the camera's JPEG stream (grey, the frame's size), or the stream.
    camera.ClearLog();
    ASSERT_EQ(Zpcam("live 127.0.0.66 -n 2 -o " + other.Path()).out,
              other.File("127.0.0.66_live_0000.png\n") + other.File("127.0.0.66_live_0001.png\n"));
    unsigned int size = 0;
    EXPECT_EQ(PngPixels(other.File("127.0.0.66_live_0001.png"), &size).size(), 1280u * 1024u);
    EXPECT_EQ(size, 1281024u);  // 1280 x 1024
    ASSERT_EQ(Zpcam("live 127.0.0.66 --format jpeg -o " + other.Path()).status, 0);
    EXPECT_EQ(ReadFile(other.File("127.0.0.66_live_0000.jpg")).substr(0, 2), "\xFF\xD8");
    const Lines lines = camera.Lines();
    EXPECT_EQ(
        std::count_if(lines.begin(), lines.end(), [](const auto& l) { return l.rfind("#0A8C01", 0) == 0; }),
        3);

    // Segment 1 of the next trains is lost. Six lost trains fail one PoReadData; the tool asks again
    // while the camera answers (three times at most), then gives up on the frame; 2-4 stay as saved.
    const struct {
        const char* trains;
        int status;
        size_t requests;
        const char* text;
    } cases[] = {{"6", 0, 8, "5 frames (3 saved before), 2621440 bytes, "},
                 {"24", 4, 24, "3 frames (3 saved before), 0 bytes, "}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.trains);
        std::filesystem::remove(base + "5.png");
        std::filesystem::remove(base + "6.png");
        ASSERT_EQ(camera.Control("image drop 1"), "OK");
        ASSERT_EQ(camera.Control(std::string("image fail ") + c.trains), "OK");
        camera.ClearLog();
        run = Zpcam("download 127.0.0.66 --frames 2-6 --resume -o " + dir.Path());
        EXPECT_EQ(run.status, c.status);
        const Lines requests = Requests(camera);  // resumed: frames 5 and 6 of the recording at 100 only
        EXPECT_EQ(requests.size(), c.requests);
        EXPECT_EQ(requests.back(), c.status == 0 ? "#0A880000006A" : "#0A8800000069");
        EXPECT_NE(run.out.find(c.text), std::string::npos) << run.out;
        EXPECT_NE(run.out.find(c.status == 0 ? " 1 retries, 0 failed" : " 3 retries, 1 failed"),
                  std::string::npos)
            << run.out;
    }
    EXPECT_EQ(run.err.rfind("zpcam: camera 127.0.0.66: downloading frame 5 failed: ", 0), 0u) << run.err;
    EXPECT_EQ(Listing(dir).size(), 4u);  // with the XML file of the earlier run
    for (int i = 2; i < 5; ++i)
        EXPECT_EQ(PngPixels(base + std::to_string(i) + ".png"),
                  zpsim::RenderRawFrame(100 + i, 1280, 1024, false));
}

// Ctrl-C mid-download: exit 130, only complete files; --resume then fetches exactly the frames missing.
TEST(Zpcam, InterruptedDownloadResumesWithoutFetchingSavedFrames) {
    Camera camera("127.0.0.69", {"--last-frame", "999"});
    ASSERT_TRUE(camera.Ready());
    TempDir dir, logs;
    camera.ClearLog();
    const std::string command = std::string("exec ") + ZPCAM_PATH + " download 127.0.0.69 --frames 0-39 -o " +
                                dir.Path() + " >/dev/null 2>" + logs.File("err");
    const pid_t child = ::fork();
    if (child == 0) {
        ::execl("/bin/sh", "sh", "-c", command.c_str(), static_cast<char*>(nullptr));
        ::_exit(127);
    }
    ASSERT_GT(child, 0);
    for (int i = 0; i < 1000 && Listing(dir).size() < 4; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    ::kill(child, SIGINT);
    int raw = 0;
    ASSERT_EQ(::waitpid(child, &raw, 0), child);
    ASSERT_EQ(WEXITSTATUS(raw), 130) << ReadFile(logs.File("err"));
    const int saved = CheckSavedFrames(dir, "127.0.0.69", ".png");
    ASSERT_LT(saved, 40);
    camera.ClearLog();
    const Outcome run = Zpcam("download 127.0.0.69 --frames 0-39 --resume -o " + dir.Path());
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(Requests(camera).size(), 40u - saved);
    EXPECT_EQ(Listing(dir).size(), 41u);  // the frames and the XML file, the journal gone
    BORDER_DATA border{};
    const std::string xml = dir.File("127.0.0.69_000000-000039.xml");
    ASSERT_EQ(ReadBorderDataFromXml(xml.c_str(), 39, &border, sizeof border), 0u);
    EXPECT_EQ(int{border.FrameNumber}, 39);
}

// Two cameras behind a veth adapter: discovery lists them and finds one by serial number or name.
TEST(Zpcam, ListAndLookUpBySerialOrName) {
    CameraLan lan;
    lan.adapters = {{"zpcli0", "02:00:00:00:77:01", 1500, "10.77.0.1/24", ""}};
    lan.cameraIps = {"10.77.0.10", "10.77.0.11"};
    NetFixture net({lan});
    ASSERT_TRUE(net.Ready()) << net.Error();
    Outcome run = Zpcam("list");
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_NE(run.out.find("Cam_0001000002          1000002  10.77.0.11       "), std::string::npos)
        << run.out;
    EXPECT_NE(run.out.find("10.77.0.1         1500\n2 camera(s)\n"), std::string::npos) << run.out;
    run = Zpcam("list --json --adapter 10.77.0.1");
    EXPECT_NE(run.out.find("{\"name\": \"Cam_0001000001\", \"serial\": 1000001, \"ip\": \"10.77.0.10\""),
              std::string::npos)
        << run.out;
    EXPECT_EQ(Zpcam("list --json --adapter 10.78.0.1").out, "[]\n");
    for (const char* camera : {"1000002", "Cam_0001000002"}) {
        run = Zpcam(std::string("info ") + camera);
        EXPECT_EQ(run.status, 0) << run.err;
        EXPECT_NE(run.out.find("camera           Cam_0001000002 at 10.77.0.11\n"), std::string::npos)
            << run.out;
    }
}

}  // namespace
}  // namespace zptest
