#include "work_queue.h"

namespace zpcam {

WorkQueue::WorkQueue(unsigned int threads, std::size_t capacity) : m_capacity(capacity == 0 ? 1 : capacity) {
    for (unsigned int i = 0; i < (threads == 0 ? 1 : threads); ++i)
        m_threads.emplace_back([this] { Work(); });
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
    std::unique_lock<std::mutex> hold(m_lock);
    m_changed.wait(hold, [this] { return m_tasks.size() < m_capacity; });
    m_tasks.push_back(std::move(task));
    hold.unlock();
    m_changed.notify_all();
}

void WorkQueue::Work() {
    for (;;) {
        std::unique_lock<std::mutex> hold(m_lock);
        m_changed.wait(hold, [this] { return m_stopping || !m_tasks.empty(); });
        if (m_tasks.empty()) return;  // stopping, and nothing left to run
        std::function<void()> task = std::move(m_tasks.front());
        m_tasks.pop_front();
        hold.unlock();
        m_changed.notify_all();  // room for a waiting producer
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

}  // namespace zpcam
