// zpcam download CAMERA...: recorded frames to files, one thread per camera, with one border XML
// file per camera. Every file is written under a temporary name and renamed when complete. While a
// camera's sequence is unfinished its border records are kept in a journal beside the frames, so
// that --resume can skip the frames already saved and still write the whole XML file.
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cctype>
#include <chrono>
#include <condition_variable>
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
#include "frame_read.h"
#include "hue_option.h"
#include "interrupt.h"
#include "png_file.h"
#include "sequence_files.h"
#include "work_queue.h"
#include "zpport/BorderXml.h"

namespace zpcam {

namespace {

using Clock = std::chrono::steady_clock;

constexpr unsigned int kJpegRoom = 65536;  // header and headroom beyond three bytes per pixel
constexpr auto kTerminalInterval = std::chrono::milliseconds(500);
constexpr auto kPlainInterval = std::chrono::seconds(5);
constexpr std::size_t kBuffersPerCamera = 8;  // frames downloaded ahead of the file writers
constexpr unsigned int kFrameRetries = 3;  // requests of a frame beyond the first, while the camera answers
constexpr unsigned int kReadDecoded = 0;   // the camera's JPEG frame, decoded by the port to grey or RGB
constexpr unsigned int kColourSensor = 1;  // BORDER_DATA::SensorType of a colour camera

struct DownloadOptions {
    std::vector<std::string> cameras;
    std::string frames, format = "png", dir = ".", log;
    bool range = false;  // --frames given: first and last hold it
    unsigned int first = 0, last = 0;
    bool resume = false;
    HueOption hue;  // given: the frames are fetched decoded, as RGB, and previewed with it
};

// One camera's download, shared between its thread and the progress display.
struct Job {
    CameraRef ref;
    std::atomic<unsigned int> done{0}, skipped{0}, total{0}, failed{0}, retries{0};
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

// PoReadData of `frame` into the buffer, with the request words written first. The port already
// retries a damaged transfer; when it still fails and the camera answers a status request, the tool
// asks for the frame again, a few times.
unsigned int ReadFrame(Job& job, ZP_PORT_HANDLE port, std::vector<unsigned char>& buffer, unsigned int frame,
                       unsigned int flags) {
    unsigned int result = 1;
    for (unsigned int attempt = 0; attempt <= kFrameRetries && !Interrupted(); ++attempt) {
        if (attempt > 0) {
            unsigned int status = 0;
            if (PoGetStatus(port, 0, &status) != 0) break;  // the camera no longer answers
            ++job.retries;
        }
        const unsigned int request[3] = {0, frame, flags};
        std::memcpy(buffer.data(), request, sizeof request);
        result = PoReadData(port, buffer.data(), static_cast<unsigned int>(buffer.size()));
        if (result == 0) break;
    }
    return result;
}

void Download(Job& job, const DownloadOptions& o, WorkQueue& writers) {
    const OpenCamera camera(job.ref, o.log);
    ZP_PORT_HANDLE port = camera.Handle();
    const std::size_t pixels = ReadFramePixels(camera);
    unsigned int latest = 0;
    camera.Check(PoGetLatestFrameIndex(port, &latest), "reading the recorded frame range");
    const unsigned int first = o.range ? o.first : 0, last = o.range ? o.last : latest;
    if (last > latest)
        throw ToolError(kExitUsage, job.ref.label + ": --frames " + o.frames +
                                        " is outside the recording 0-" + std::to_string(latest));
    if (pixels == 0) throw ToolError(kExitCamera, job.ref.label + ": the camera reports an empty frame size");
    const bool jpeg = o.format == "jpeg", png = o.format == "png", preview = o.hue.Given();
    const unsigned int flags = jpeg ? kReadJpegStream : (preview ? kReadDecoded : kReadUncompressed);
    const std::size_t size = jpeg || preview ? pixels * 3 + kJpegRoom : std::max<std::size_t>(pixels, 12);

    SequenceFiles files(o.dir, job.ref, first, last, "." + (jpeg ? std::string("jpg") : o.format), o.resume);
    BufferPool buffers(kBuffersPerCamera, size);
    TaskGroup writing;  // declared last: its destructor waits for the writers using the above
    job.total = last - first + 1;
    for (unsigned int frame = first; frame <= last; ++frame) {
        if (files.Saved(frame)) {
            ++job.done;
            ++job.skipped;
            continue;
        }
        if (Interrupted()) throw ToolError(kExitInterrupted, job.ref.label + ": interrupted");
        writing.RethrowError();
        const std::string step = "downloading frame " + std::to_string(frame);
        BufferPool::Buffer buffer = buffers.Take();
        BORDER_DATA border{};
        {
            const std::lock_guard<std::mutex> transfer(*job.adapterLock);
            const unsigned int result = ReadFrame(job, port, *buffer, frame, flags);
            if (result != 0) ++job.failed;
            camera.Check(result, step);
            border = ReadBorder(camera);
        }
        const unsigned int components = preview && border.SensorType == kColourSensor ? 3 : 1;
        o.hue.RequireRgb(job.ref.label, components);
        std::size_t offset = 0, length = std::size_t{border.Width2} * border.Height2 * components;
        if (jpeg) {
            length = StreamLength(buffer->data());
            offset = sizeof(std::uint32_t);
        }
        if (length > size - offset) {
            ++job.failed;
            throw ToolError(kExitCamera,
                            job.ref.label + ": " + step + ": the frame is larger than the settings say");
        }
        job.bytes += length;
        // The file is written on a worker thread while the next frame downloads into another buffer.
        writing.Started();
        writers.Submit([&job, &files, &buffers, &writing, &o, png, preview, components, frame, border, buffer,
                        offset, length] {
            std::exception_ptr error;
            try {
                const std::string path = files.FramePath(frame);
                if (preview) o.hue.Apply(buffer->data(), length / 3);
                if (png)
                    WritePngFile(path, buffer->data(), border.Width2, border.Height2, components);
                else
                    WriteBinaryFile(path, buffer->data() + offset, length);
                files.Record(frame, border);
                ++job.done;
            } catch (...) {
                error = std::current_exception();
            }
            buffers.Give(buffer);
            writing.Finished(error);
        });
    }
    writing.Wait();
    writing.RethrowError();
    files.Finish();
}

std::string ProgressLine(const Job& job, bool summary) {
    const auto now = job.finished ? job.end : Clock::now();
    const double seconds = std::chrono::duration<double>(now - job.start).count();
    const double mbps = seconds > 0 ? static_cast<double>(job.bytes) / 1e6 / seconds : 0;
    char text[256];
    if (summary) {
        std::snprintf(text, sizeof text,
                      "%s: %u frames (%u saved before), %llu bytes, %.2f s, %.1f MB/s, %u retries, %u failed "
                      "frames",
                      job.ref.label.c_str(), job.done.load(), job.skipped.load(), job.bytes.load(), seconds,
                      mbps, job.retries.load(), job.failed.load());
    } else {
        const unsigned int done = job.done, total = job.total;
        const double rate = seconds > 0 ? (done - job.skipped) / seconds : 0;
        const double eta = rate > 0 ? (total - done) / rate : 0;
        std::snprintf(text, sizeof text, "%s: %u/%u frames, %.1f MB/s, %u retries, ETA %.0f s, %u failed",
                      job.ref.label.c_str(), done, total, mbps, job.retries.load(), eta, job.failed.load());
    }
    return text;
}

int RunDownload(DownloadOptions& o) {
    o.range = !o.frames.empty();
    if (o.range && !ParseRange(o.frames, o.first, o.last))
        throw ToolError(kExitUsage, "--frames " + o.frames + ": expected FIRST-LAST, e.g. 0-99");
    o.hue.RequirePng(o.format);
    o.hue.Prepare();
    RequireWritableFolder(o.dir);
    CatchInterrupt();
    HintCappedReceiveBuffer();
    std::vector<std::unique_ptr<Job>> jobs;
    std::map<std::uint32_t, std::mutex> adapterLocks;
    for (const auto& text : o.cameras) {
        jobs.push_back(std::make_unique<Job>());
        jobs.back()->ref = ResolveCamera(text);
        jobs.back()->adapterLock = &adapterLocks[jobs.back()->ref.item.adapterIp];
    }
    // File writers for all cameras, declared after the jobs so that they stop first. PNG: one encoder
    // per core, in the background so that encoding never delays a transfer. Raw and JPEG: one writer
    // at normal priority, as writing is the kernel's copy and must keep pace with the transfers.
    const bool png = o.format == "png";
    const unsigned int cores = std::max(1u, std::thread::hardware_concurrency());
    WorkQueue writers(png ? cores : 1, png);
    const auto started = Clock::now();
    std::mutex finishLock;
    std::condition_variable finishSignal;  // a camera finished: the progress loop ends without delay
    std::size_t finishedJobs = 0;
    std::vector<std::thread> threads;
    for (auto& job : jobs) {
        threads.emplace_back([&job, &o, &writers, &finishLock, &finishSignal, &finishedJobs] {
            try {
                Download(*job, o, writers);
            } catch (const ToolError& e) {
                job->status = e.Code();
                job->error = e.what();
            }
            job->end = Clock::now();
            job->finished = true;
            const std::lock_guard<std::mutex> hold(finishLock);
            ++finishedJobs;
            finishSignal.notify_all();
        });
    }
    // Progress: redrawn lines on a terminal, a plain line per camera every few seconds otherwise.
    const bool terminal = ::isatty(STDOUT_FILENO) != 0;
    auto waitForAll = [&](std::chrono::milliseconds most) {
        std::unique_lock<std::mutex> hold(finishLock);
        return finishSignal.wait_for(hold, most, [&] { return finishedJobs == jobs.size(); });
    };
    auto lastPlain = Clock::now();
    bool drawn = false;
    while (!waitForAll(std::chrono::milliseconds(50))) {
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
        if (job->total == 0) {  // failed before its first frame: the error line says why
            if (drawn) std::printf("\r\033[K\n");
            continue;
        }
        std::printf("%s%s\n", terminal ? "\r\033[K" : "", ProgressLine(*job, true).c_str());
        bytes += job->bytes;
        frames += job->done;
    }
    if (jobs.size() > 1) {
        const double seconds = std::chrono::duration<double>(Clock::now() - started).count();
        std::printf("all: %u frames, %llu bytes, %.2f s, %.1f MB/s\n", frames, bytes, seconds,
                    static_cast<double>(bytes) / 1e6 / seconds);
    }
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
    command
        ->add_option("--format", o->format,
                     "png: the pixels received as 8-bit grey (colour: the Bayer mosaic); raw: the bytes "
                     "received; jpeg: the camera's JPEG stream")
        ->check(CLI::IsMember({"png", "raw", "jpeg"}))
        ->default_str("png");
    command->add_option("-o,--output", o->dir, "folder for the files (default: the current folder)")
        ->type_name("DIR");
    command->add_flag("--resume", o->resume, "skip the frames whose files exist from an earlier run");
    o->hue.Add(*command);
    AddLogOption(*command, o->log);
    command->footer(
        "Files: NAME_NNNNNN.png, .raw or .jpg per frame and NAME_FIRST-LAST.xml for the sequence, where NAME "
        "is\n"
        "the camera's name (its address when opened by address).\n"
        "With --hue or --saturation (png only) a colour camera's frames are fetched as JPEG, decoded to\n"
        "RGB and saved with the colour change applied; grey frames are refused.\n\n" +
        std::string(ExitCodeHelp()));
    command->callback([o, &action] { action = [o] { return RunDownload(*o); }; });
}

}  // namespace zpcam
