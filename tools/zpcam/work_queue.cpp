#include "work_queue.h"

#include <sys/resource.h>
#include <unistd.h>

namespace zpcam {

WorkQueue::WorkQueue(unsigned int threads, bool background) {
    for (unsigned int i = 0; i < (threads == 0 ? 1 : threads); ++i)
        m_threads.emplace_back([this, background] { Work(background); });
}

WorkQueue::~WorkQueue() {
    {
        const std::lock_guard<std::mutex> hold(m_lock);
        m_stopping = true;
    }
    m_changed.notify_all();
    for (auto& thread : m_threads) thread.join();
}

void WorkQueue::Submit(std::function<void()> task) {
    {
        const std::lock_guard<std::mutex> hold(m_lock);
        m_tasks.push_back(std::move(task));
    }
    m_changed.notify_one();
}

void WorkQueue::Work(bool background) {
    constexpr int kLowerPriority = 10;
    const int nice = ::getpriority(PRIO_PROCESS, 0);  // the process's: this thread's until changed
    if (background) ::setpriority(PRIO_PROCESS, static_cast<id_t>(::gettid()), nice + kLowerPriority);
    for (;;) {
        std::unique_lock<std::mutex> hold(m_lock);
        m_changed.wait(hold, [this] { return m_stopping || !m_tasks.empty(); });
        if (m_tasks.empty()) return;  // stopping, and nothing left to run
        std::function<void()> task = std::move(m_tasks.front());
        m_tasks.pop_front();
        hold.unlock();
        task();
    }
}

void TaskGroup::Started() {
    const std::lock_guard<std::mutex> hold(m_lock);
    ++m_running;
}

void TaskGroup::Finished(std::exception_ptr error) {
    const std::lock_guard<std::mutex> hold(m_lock);
    if (!m_error) m_error = error;
    if (--m_running == 0) m_idle.notify_all();
}

void TaskGroup::Wait() {
    std::unique_lock<std::mutex> hold(m_lock);
    m_idle.wait(hold, [this] { return m_running == 0; });
}

void TaskGroup::RethrowError() {
    std::exception_ptr error;
    {
        const std::lock_guard<std::mutex> hold(m_lock);
        error = m_error;
    }
    if (error) std::rethrow_exception(error);
}

BufferPool::BufferPool(std::size_t count, std::size_t size) {
    for (std::size_t i = 0; i < count; ++i)
        m_free.push_back(std::make_shared<std::vector<unsigned char>>(size));
}

BufferPool::Buffer BufferPool::Take() {
    std::unique_lock<std::mutex> hold(m_lock);
    m_returned.wait(hold, [this] { return !m_free.empty(); });
    Buffer buffer = std::move(m_free.back());
    m_free.pop_back();
    return buffer;
}

void BufferPool::Give(Buffer buffer) {
    {
        const std::lock_guard<std::mutex> hold(m_lock);
        m_free.push_back(std::move(buffer));
    }
    m_returned.notify_one();
}

}  // namespace zpcam
