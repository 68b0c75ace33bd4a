// zpcam download CAMERA...: recorded frames to files, one thread per camera, with one border XML
// file per camera. Every file is written under a temporary name and renamed when complete. While a
// camera's sequence is unfinished its border records are kept in a journal beside the frames, so
// that --resume can skip the frames already saved and still write the whole XML file.
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cctype>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <map>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "camera_ref.h"
#include "commands.h"
#include "exit_codes.h"
#include "file_io.h"
#include "interrupt.h"
#include "zpport/BorderXml.h"
#include "zpport/CameraSettings.h"

namespace zpcam {

namespace {

using Clock = std::chrono::steady_clock;

// readFlags, the third request word of PoReadData.
constexpr unsigned int kReadUncompressed = 0x01, kReadBorderOnly = 0x02, kReadJpegStream = 0x04;
constexpr unsigned int kJpegRoom = 65536;  // header and headroom beyond three bytes per pixel
constexpr auto kTerminalInterval = std::chrono::milliseconds(500);
constexpr auto kPlainInterval = std::chrono::seconds(5);

struct DownloadOptions {
    std::vector<std::string> cameras;
    std::string frames, format = "raw", dir = ".", log;
    bool range = false;  // --frames given: first and last hold it
    unsigned int first = 0, last = 0;
    bool resume = false;
};

// One camera's download, shared between its thread and the progress display.
struct Job {
    CameraRef ref;
    std::atomic<unsigned int> done{0}, skipped{0}, total{0}, failed{0};
    std::atomic<unsigned long long> bytes{0};
    std::atomic<bool> finished{false};
    // Held for each transfer. The port takes the data port from the camera's address byte and the
    // attempt alone, so two cameras behind one host adapter would bind the same port at once: their
    // transfers take turns, and cameras behind different adapters download side by side.
    std::mutex* adapterLock = nullptr;
    Clock::time_point start = Clock::now(), end;
    int status = kExitOk;
    std::string error;
};

bool ParseRange(const std::string& text, unsigned int& first, unsigned int& last) {
    unsigned long a = 0, b = 0;
    char extra = 0;
    if (std::sscanf(text.c_str(), "%lu-%lu%c", &a, &b, &extra) != 2 || a > b || b > 0xFFFFFFFFul)
        return false;
    first = static_cast<unsigned int>(a);
    last = static_cast<unsigned int>(b);
    return text.find_first_not_of("0123456789-") == std::string::npos;
}

// The camera's part of every file name: its name when discovery found it, else its address.
std::string FilePrefix(const CameraRef& ref) {
    std::string prefix =
        ref.discovered && ref.item.cameraName[0] != '\0' ? ref.item.cameraName : ref.item.ipText;
    for (char& c : prefix) {
        if (!std::isalnum(static_cast<unsigned char>(c)) && c != '-' && c != '.' && c != '_') c = '_';
    }
    return prefix;
}

std::string Padded(unsigned int value, int digits) {
    char text[16];
    std::snprintf(text, sizeof text, "%0*u", digits, value);
    return text;
}

bool Exists(const std::string& path) {
    return ::access(path.c_str(), F_OK) == 0;
}

struct JournalEntry {
    std::uint32_t frame;
    BORDER_DATA border;
};

// The border records of frames saved earlier: the finished XML file of the same range (its frames in
// order from the first), then the journal of an interrupted run (complete entries only).
std::map<unsigned int, BORDER_DATA> SavedRecords(const std::string& xml, const std::string& journal,
                                                 unsigned int first, unsigned int last) {
    std::map<unsigned int, BORDER_DATA> records;
    if (Exists(xml)) {
        const std::string text = ReadTextFile(xml);
        unsigned int frames = 0;
        for (auto at = text.find("</Frame>"); at != std::string::npos; at = text.find("</Frame>", at + 1))
            ++frames;
        for (unsigned int i = 0; i < frames && first + i <= last; ++i) {
            BORDER_DATA border{};
            if (ReadBorderDataFromXml(xml.c_str(), static_cast<int>(i), &border, sizeof border) == 0)
                records[first + i] = border;
        }
    }
    if (std::FILE* file = std::fopen(journal.c_str(), "rb")) {
        JournalEntry entry;
        while (std::fread(&entry, sizeof entry, 1, file) == 1) records[entry.frame] = entry.border;
        std::fclose(file);
    }
    return records;
}

void WriteXml(const std::string& path, const std::vector<BORDER_DATA>& records) {
    WriteThroughTemporary(path, [&records](const std::string& temporary) {
        return WriteBorderDataToXml(temporary.c_str(), records.data(), static_cast<int>(records.size())) == 0;
    });
}

void Download(Job& job, const DownloadOptions& o) {
    const OpenCamera camera(job.ref, o.log);
    ZP_PORT_HANDLE port = camera.Handle();
    _CAMERA_SETTINGS settings{};
    camera.Check(PoReadFlashMemoryBlocks(port, 0, 0, &settings), "reading the settings");
    unsigned int latest = 0;
    camera.Check(PoGetLatestFrameIndex(port, &latest), "reading the recorded frame range");
    const unsigned int first = o.range ? o.first : 0, last = o.range ? o.last : latest;
    if (last > latest)
        throw ToolError(kExitUsage, job.ref.label + ": --frames " + o.frames +
                                        " is outside the recording 0-" + std::to_string(latest));
    const std::size_t pixels =
        std::size_t{settings.roiWidth} * (settings.binning + 1) * settings.roiHeight * (settings.binning + 1);
    if (pixels == 0) throw ToolError(kExitCamera, job.ref.label + ": the camera reports an empty frame size");
    const bool jpeg = o.format == "jpeg";
    const unsigned int flags = jpeg ? kReadJpegStream : kReadUncompressed;
    const std::size_t size = jpeg ? pixels * 3 + kJpegRoom : std::max<std::size_t>(pixels, 12);
    std::vector<unsigned char> buffer(size);

    const int digits = std::max<int>(6, static_cast<int>(std::to_string(last).size()));
    const std::string base = o.dir + "/" + FilePrefix(job.ref) + "_";
    const std::string xml = base + Padded(first, digits) + "-" + Padded(last, digits) + ".xml";
    const std::string journalPath = xml + ".journal";
    std::map<unsigned int, BORDER_DATA> records;
    if (o.resume) records = SavedRecords(xml, journalPath, first, last);
    // Opened when the first frame is saved; a run without --resume starts a new journal.
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> journal(nullptr, std::fclose);

    job.total = last - first + 1;
    for (unsigned int frame = first; frame <= last; ++frame) {
        const std::string path = base + Padded(frame, digits) + (jpeg ? ".jpg" : ".raw");
        if (o.resume && records.count(frame) != 0 && Exists(path)) {
            ++job.done;
            ++job.skipped;
            continue;
        }
        if (Interrupted()) throw ToolError(kExitInterrupted, job.ref.label + ": interrupted");
        const unsigned int request[3] = {0, frame, flags};
        std::memcpy(buffer.data(), request, sizeof request);
        const std::string step = "downloading frame " + std::to_string(frame);
        BORDER_DATA border{};
        {
            const std::lock_guard<std::mutex> transfer(*job.adapterLock);
            const unsigned int result = PoReadData(port, buffer.data(), static_cast<unsigned int>(size));
            if (result != 0) ++job.failed;
            camera.Check(result, step);
            const unsigned int borderRequest[3] = {0, 0, kReadBorderOnly};
            std::memcpy(&border, borderRequest, sizeof borderRequest);
            camera.Check(PoReadData(port, &border, sizeof border), "reading the border record");
        }
        const unsigned char* data = buffer.data();
        std::size_t length = std::size_t{border.Width2} * border.Height2;
        if (jpeg) {
            std::uint32_t streamLength = 0;
            std::memcpy(&streamLength, buffer.data(), sizeof streamLength);
            length = streamLength;
            data += sizeof streamLength;
        }
        if (length > size - (jpeg ? 4 : 0)) {
            ++job.failed;
            throw ToolError(kExitCamera,
                            job.ref.label + ": " + step + ": the frame is larger than the settings say");
        }
        WriteBinaryFile(path, data, length);
        if (!journal) journal.reset(std::fopen(journalPath.c_str(), o.resume ? "ab" : "wb"));
        const JournalEntry entry{frame, border};
        if (!journal || std::fwrite(&entry, sizeof entry, 1, journal.get()) != 1 ||
            std::fflush(journal.get()) != 0)
            throw ToolError(kExitFile, "cannot write " + journalPath + ": " + std::strerror(errno));
        records[frame] = border;
        job.bytes += length;
        ++job.done;
    }
    std::vector<BORDER_DATA> sequence;
    for (unsigned int frame = first; frame <= last; ++frame) sequence.push_back(records[frame]);
    WriteXml(xml, sequence);
    journal.reset();
    std::remove(journalPath.c_str());
}

std::string ProgressLine(const Job& job, bool summary) {
    const auto now = job.finished ? job.end : Clock::now();
    const double seconds = std::chrono::duration<double>(now - job.start).count();
    const double mbps = seconds > 0 ? static_cast<double>(job.bytes) / 1e6 / seconds : 0;
    char text[256];
    if (summary) {
        std::snprintf(text, sizeof text,
                      "%s: %u frames (%u saved before), %llu bytes, %.2f s, %.1f MB/s, %u failed frames",
                      job.ref.label.c_str(), job.done.load(), job.skipped.load(), job.bytes.load(), seconds,
                      mbps, job.failed.load());
    } else {
        const unsigned int done = job.done, total = job.total;
        const double rate = seconds > 0 ? done / seconds : 0;
        const double eta = rate > 0 ? (total - done) / rate : 0;
        std::snprintf(text, sizeof text, "%s: %u/%u frames, %.1f MB/s, ETA %.0f s, %u failed",
                      job.ref.label.c_str(), done, total, mbps, eta, job.failed.load());
    }
    return text;
}

int RunDownload(DownloadOptions& o) {
    o.range = !o.frames.empty();
    if (o.range && !ParseRange(o.frames, o.first, o.last))
        throw ToolError(kExitUsage, "--frames " + o.frames + ": expected FIRST-LAST, e.g. 0-99");
    if (::access(o.dir.c_str(), W_OK) != 0)
        throw ToolError(kExitFile, "cannot write into " + o.dir + ": " + std::strerror(errno));
    CatchInterrupt();
    std::vector<std::unique_ptr<Job>> jobs;
    std::map<std::uint32_t, std::mutex> adapterLocks;
    for (const auto& text : o.cameras) {
        jobs.push_back(std::make_unique<Job>());
        jobs.back()->ref = ResolveCamera(text);
        jobs.back()->adapterLock = &adapterLocks[jobs.back()->ref.item.adapterIp];
    }
    std::vector<std::thread> threads;
    for (auto& job : jobs) {
        threads.emplace_back([&job, &o] {
            try {
                Download(*job, o);
            } catch (const ToolError& e) {
                job->status = e.Code();
                job->error = e.what();
            }
            job->end = Clock::now();
            job->finished = true;
        });
    }
    // Progress: redrawn lines on a terminal, a plain line per camera every few seconds otherwise.
    const bool terminal = ::isatty(STDOUT_FILENO) != 0;
    auto allDone = [&jobs] {
        for (const auto& job : jobs) {
            if (!job->finished) return false;
        }
        return true;
    };
    auto lastPlain = Clock::now();
    bool drawn = false;
    while (!allDone()) {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        if (terminal && Clock::now() - lastPlain >= kTerminalInterval) {
            if (drawn) std::printf("\033[%zuA", jobs.size());
            for (const auto& job : jobs) std::printf("\r\033[K%s\n", ProgressLine(*job, false).c_str());
            drawn = true;
            lastPlain = Clock::now();
        } else if (!terminal && Clock::now() - lastPlain >= kPlainInterval) {
            for (const auto& job : jobs) std::printf("%s\n", ProgressLine(*job, false).c_str());
            lastPlain = Clock::now();
        }
        std::fflush(stdout);
    }
    for (auto& thread : threads) thread.join();
    if (drawn) std::printf("\033[%zuA", jobs.size());
    int status = kExitOk;
    unsigned long long bytes = 0;
    unsigned int frames = 0;
    for (const auto& job : jobs) {
        std::printf("%s%s\n", terminal ? "\r\033[K" : "", ProgressLine(*job, true).c_str());
        bytes += job->bytes;
        frames += job->done;
    }
    if (jobs.size() > 1) std::printf("all: %u frames, %llu bytes\n", frames, bytes);
    std::fflush(stdout);
    for (const auto& job : jobs) {
        if (job->status == kExitOk) continue;
        std::fprintf(stderr, "zpcam: %s\n", job->error.c_str());
        if (status == kExitOk) status = job->status;
    }
    return status;
}

}  // namespace

void AddDownloadCommand(CLI::App& app, Action& action) {
    auto o = std::make_shared<DownloadOptions>();
    CLI::App* command = app.add_subcommand("download", "save recorded frames and their border XML to files");
    command->add_option("CAMERA", o->cameras, "IPv4 address, serial number or camera name (one or more)")
        ->required();
    command
        ->add_option("--frames", o->frames,
                     "frame range, counted from the first recorded frame (default: all)")
        ->type_name("FIRST-LAST");
    command->add_option("--format", o->format, "raw: the bytes received; jpeg: the camera's JPEG stream")
        ->check(CLI::IsMember({"raw", "jpeg"}))
        ->default_str("raw");
    command->add_option("-o,--output", o->dir, "folder for the files (default: the current folder)")
        ->type_name("DIR");
    command->add_flag("--resume", o->resume, "skip the frames whose files exist from an earlier run");
    AddLogOption(*command, o->log);
    command->footer(
        "Files: NAME_NNNNNN.raw or .jpg per frame and NAME_FIRST-LAST.xml for the sequence, where NAME is\n"
        "the camera's name (its address when opened by address).\n\n" +
        std::string(ExitCodeHelp()));
    command->callback([o, &action] { action = [o] { return RunDownload(*o); }; });
}

}  // namespace zpcam
