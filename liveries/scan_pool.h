// A fixed pool of worker threads for the file tasks of a scan. At most as
// many files are read at once as the pool has workers; each task's result
// comes back through a future, so the caller keeps the order of finding.
#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <future>
#include <mutex>
#include <thread>
#include <vector>

namespace orv {

class ScanPool {
public:
    explicit ScanPool(unsigned WORKERS);
    /// Finishes the queued tasks, then joins the workers.
    ~ScanPool();
    ScanPool(const ScanPool&) = delete;
    ScanPool& operator=(const ScanPool&) = delete;

    template <typename RESULT>
    std::future<RESULT> submit(std::function<RESULT()> TASK)
    {
        auto packaged = std::make_shared<std::packaged_task<RESULT()>>(std::move(TASK));
        auto future = packaged->get_future();
        {
            const std::lock_guard guard(lock);
            queue.emplace_back([packaged] { (*packaged)(); });
        }
        wake.notify_one();
        return future;
    }

    [[nodiscard]] unsigned size() const { return static_cast<unsigned>(workers.size()); }

private:
    void lf_work();

    std::mutex lock;
    std::condition_variable wake;
    std::deque<std::function<void()>> queue;
    bool stopping = false;
    std::vector<std::thread> workers;
};

} // namespace orv
