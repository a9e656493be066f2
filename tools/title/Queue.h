// A bounded hand-over between the pipeline's threads.
#ifndef FLOWER_TITLE_QUEUE_H
#define FLOWER_TITLE_QUEUE_H

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>

namespace title {

template <typename T> class Queue {
  public:
    enum class Status { Ok, Closed, Timeout };

    void Push(T item)
    {
        {
            std::lock_guard<std::mutex> lock(mutex);
            items.push_back(std::move(item));
        }
        changed.notify_all();
    }

    // Waits up to `wait` for an item; Closed once Close was called and the
    // queue is empty.
    Status Pop(T& item, std::chrono::milliseconds wait = std::chrono::milliseconds(100))
    {
        std::unique_lock<std::mutex> lock(mutex);
        if (!changed.wait_for(lock, wait, [this] { return !items.empty() || closed; }))
            return Status::Timeout;
        if (items.empty())
            return Status::Closed;
        item = std::move(items.front());
        items.pop_front();
        return Status::Ok;
    }

    void Close()
    {
        {
            std::lock_guard<std::mutex> lock(mutex);
            closed = true;
        }
        changed.notify_all();
    }

  private:
    std::mutex mutex;
    std::condition_variable changed;
    std::deque<T> items;
    bool closed = false;
};

} // namespace title

#endif
