// A small pool of worker threads kept for an interpolator's life: runs the indices of a loop
// on the caller and the workers, so that per-frame stages do not start threads of their own.
#pragma once

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace frc {
namespace detail {

class WorkPool {
  public:
    WorkPool() = default;
    ~WorkPool() {
        {
            std::lock_guard<std::mutex> lock(mutex_);
            quit_ = true;
        }
        wake_.notify_all();
        for (std::thread& t : threads_) t.join();
    }
    WorkPool(const WorkPool&) = delete;
    WorkPool& operator=(const WorkPool&) = delete;

    // Runs fn(0) .. fn(count - 1) on the calling thread and up to `threads` - 1 workers (started
    // on first need and kept); returns when every index is done. A loop started while another
    // runs (from inside it) runs on the calling thread alone.
    void run(int count, int threads, const std::function<void(int)>& fn) {
        const int helpers = std::min(count, threads) - 1;
        if (helpers <= 0 || running_.exchange(true)) {
            for (int i = 0; i < count; ++i) fn(i);
            return;
        }
        while (static_cast<int>(threads_.size()) < helpers) {
            threads_.emplace_back([this, id = static_cast<int>(threads_.size())] { serve(id); });
        }
        {
            std::lock_guard<std::mutex> lock(mutex_);
            job_ = &fn;
            count_ = count;
            next_.store(0, std::memory_order_relaxed);
            helpers_ = helpers;
            busy_ = helpers;
            ++generation_;
        }
        wake_.notify_all();
        work(fn, count);
        std::unique_lock<std::mutex> lock(mutex_);
        done_.wait(lock, [this] { return busy_ == 0; });
        job_ = nullptr;
        running_.store(false);
    }

  private:
    void work(const std::function<void(int)>& fn, int count) {
        for (int i = next_.fetch_add(1, std::memory_order_relaxed); i < count;
             i = next_.fetch_add(1, std::memory_order_relaxed)) {
            fn(i);
        }
    }

    void serve(int id) {
        uint64_t seen = 0;
        std::unique_lock<std::mutex> lock(mutex_);
        for (;;) {
            wake_.wait(lock, [&] { return quit_ || generation_ != seen; });
            if (quit_) return;
            seen = generation_;
            // Workers beyond this loop's share sit it out (it asked for fewer threads).
            if (id >= helpers_) continue;
            const std::function<void(int)>* fn = job_;
            const int count = count_;
            lock.unlock();
            work(*fn, count);
            lock.lock();
            if (--busy_ == 0) done_.notify_one();
        }
    }

    std::vector<std::thread> threads_;
    std::mutex mutex_;
    std::condition_variable wake_;
    std::condition_variable done_;
    const std::function<void(int)>* job_ = nullptr;
    int count_ = 0;
    int helpers_ = 0;
    int busy_ = 0;
    uint64_t generation_ = 0;
    bool quit_ = false;
    std::atomic<int> next_{0};
    std::atomic<bool> running_{false};
};

}  // namespace detail
}  // namespace frc
