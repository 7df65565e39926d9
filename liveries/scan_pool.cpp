// The worker threads of a scan.
#include "liveries/scan_pool.h"

#include <algorithm>

namespace orv {

ScanPool::ScanPool(unsigned WORKERS)
{
    const unsigned count = std::max(1u, WORKERS);
    workers.reserve(count);
    for (unsigned i = 0; i < count; ++i) workers.emplace_back([this] { lf_work(); });
}

ScanPool::~ScanPool()
{
    {
        const std::lock_guard guard(lock);
        stopping = true;
    }
    wake.notify_all();
    for (auto& worker : workers) worker.join();
}

void ScanPool::lf_work()
{
    while (true) {
        std::function<void()> task;
        {
            std::unique_lock guard(lock);
            wake.wait(guard, [this] { return stopping || !queue.empty(); });
            if (queue.empty()) return; // stopping, and nothing left to do
            task = std::move(queue.front());
            queue.pop_front();
        }
        task(); // a packaged task: its exception goes into the future
    }
}

} // namespace orv
