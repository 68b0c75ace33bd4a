// A fixed set of worker threads running queued tasks, a group that waits for its own tasks, and a
// pool of frame buffers. Downloads queue the writing (and PNG encoding) of each frame here, so that
// the next frame is requested while the last one is written.
#ifndef ZPCAM_WORK_QUEUE_H
#define ZPCAM_WORK_QUEUE_H

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace zpcam {

class WorkQueue {
public:
    // Background workers run at a lower scheduling priority (nice 10 above the process), so that on
    // a busy machine the network side gets the processor first. The queue itself is not bounded:
    // producers hold their frames in a BufferPool, which bounds the tasks in flight.
    WorkQueue(unsigned int threads, bool background);
    // Runs every task already queued, then stops the threads.
    ~WorkQueue();
    WorkQueue(const WorkQueue&) = delete;
    WorkQueue& operator=(const WorkQueue&) = delete;

    void Submit(std::function<void()> task);

private:
    void Work(bool background);

    std::mutex m_lock;
    std::condition_variable m_changed;
    std::deque<std::function<void()>> m_tasks;
    bool m_stopping = false;
    std::vector<std::thread> m_threads;
};

// Counts one producer's tasks in flight and keeps the first error one of them reports. The
// destructor waits for them, so whatever they refer to outlives them on every way out.
class TaskGroup {
public:
    ~TaskGroup() { Wait(); }
    void Started();
    void Finished(std::exception_ptr error = nullptr);
    void Wait();
    // Throws the first error reported so far, if any.
    void RethrowError();

private:
    std::mutex m_lock;
    std::condition_variable m_idle;
    unsigned int m_running = 0;
    std::exception_ptr m_error;
};

// Buffers of one size, allocated once and handed back and forth between a producer and the tasks
// that consume them.
class BufferPool {
public:
    using Buffer = std::shared_ptr<std::vector<unsigned char>>;
    BufferPool(std::size_t count, std::size_t size);
    // Waits until a buffer is free.
    Buffer Take();
    void Give(Buffer buffer);

private:
    std::mutex m_lock;
    std::condition_variable m_returned;
    std::vector<Buffer> m_free;
};

}  // namespace zpcam

#endif  // ZPCAM_WORK_QUEUE_H
