// The one door through which parallel loops enter the task scheduler. A thread-sanitizer build runs
// the same ranges on plain threads: a packaged TBB is not built for that sanitizer and would drown
// real reports in false ones.
#pragma once

#include <cstddef>
#include <functional>
#include <numeric>
#include <span>

#if defined(__SANITIZE_THREAD__)
#define STRATUM_PLAIN_THREADS 1
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define STRATUM_PLAIN_THREADS 1
#endif
#endif

#ifdef STRATUM_PLAIN_THREADS
#include <algorithm>
#include <atomic>
#include <exception>
#include <mutex>
#include <thread>
#include <vector>
#else
#include <oneapi/tbb/blocked_range.h>
#include <oneapi/tbb/parallel_for.h>
#include <oneapi/tbb/parallel_reduce.h>
#include <oneapi/tbb/parallel_sort.h>
#include <oneapi/tbb/task_arena.h>
#endif

namespace Stratum {

/// The range [begin(), end()) that one call of a loop body covers.
class IndexRange {
public:
    constexpr IndexRange(std::size_t begin, std::size_t end) : begin_(begin), end_(end) {}
    constexpr std::size_t begin() const { return begin_; }
    constexpr std::size_t end() const { return end_; }

private:
    std::size_t begin_, end_;
};

#ifdef STRATUM_PLAIN_THREADS

/// As below, on plain threads: every thread works with its own copy of the body.
template <class Body>
void parallelFor(std::size_t count, std::size_t grain, const Body& body) {
    if (count <= grain) {
        body(IndexRange(0, count));
        return;
    }
    const std::size_t workers = 3, chunk = std::max(grain, count / (4 * workers) + 1);
    std::atomic<std::size_t> next{0};
    std::exception_ptr failure;
    std::mutex failureMutex;
    auto work = [&] {
        try {
            const Body own(body);
            for (std::size_t i = next.fetch_add(chunk); i < count; i = next.fetch_add(chunk))
                own(IndexRange(i, std::min(count, i + chunk)));
        } catch (...) {
            const std::lock_guard lock(failureMutex);
            failure = std::current_exception();
        }
    };
    std::vector<std::jthread> threads;
    for (std::size_t w = 0; w < workers; ++w)
        threads.emplace_back(work);
    threads.clear();
    if (failure)
        std::rethrow_exception(failure);
}

template <class Body>
void parallelForIsolated(std::size_t count, std::size_t grain, const Body& body) {
    parallelFor(count, grain, body);
}

template <class Iterator, class Less>
void parallelSort(Iterator first, Iterator last, const Less& less) {
    std::sort(first, last, less);
}

template <class T>
T parallelSum(std::span<const T> values, std::size_t grain) {
    if (values.size() > grain) {
        const std::size_t middle = values.size() / 2;
        return parallelSum(values.first(middle), grain) +
               parallelSum(values.subspan(middle), grain);
    }
    return std::accumulate(values.begin(), values.end(), T{});
}

#else

namespace detail {

template <class Body>
struct RangeAdapter {
    Body body;
    void operator()(const tbb::blocked_range<std::size_t>& range) const {
        body(IndexRange(range.begin(), range.end()));
    }
};

} // namespace detail

/// Runs `body(range)` over [0, count) in pieces of at least `grain` / 2 elements under the auto
/// partitioner, in a task-group context bound to the caller's. The body is copied whenever a range
/// is split, so each task works with its own copy. A count that does not exceed the grain runs on
/// the calling thread without the scheduler. When the caller's task group is cancelled, ranges are
/// left out silently.
template <class Body>
void parallelFor(std::size_t count, std::size_t grain, const Body& body) {
    if (count <= grain) {
        body(IndexRange(0, count));
        return;
    }
    tbb::parallel_for(tbb::blocked_range<std::size_t>(0, count, grain),
                      detail::RangeAdapter<Body>{body});
}

/// The same in a context of its own: it covers every range, whatever becomes of the caller's task
/// group, and a thread that waits for it takes up no other work. For work whose results would
/// otherwise be left half made, and work that a caller knows nothing of.
template <class Body>
void parallelForIsolated(std::size_t count, std::size_t grain, const Body& body) {
    if (count <= grain) {
        body(IndexRange(0, count));
        return;
    }
    tbb::task_group_context isolated(tbb::task_group_context::isolated);
    tbb::this_task_arena::isolate([&] {
        tbb::parallel_for(tbb::blocked_range<std::size_t>(0, count, grain),
                          detail::RangeAdapter<Body>{body}, isolated);
    });
}

/// The sum, added up in an order that does not depend on the number of threads: runs of at most
/// `grain` values, each from the left, then these two by two as the range was halved.
template <class T>
T parallelSum(std::span<const T> values, std::size_t grain) {
    return tbb::parallel_deterministic_reduce(
        tbb::blocked_range<std::size_t>(0, values.size(), grain), T{},
        [&](const tbb::blocked_range<std::size_t>& range, T sum) {
            return std::accumulate(values.begin() + range.begin(), values.begin() + range.end(),
                                   sum);
        },
        std::plus<T>(), tbb::simple_partitioner());
}

/// Sorts by `less`, whatever becomes of the caller's task group; the order of equal elements is not
/// defined.
template <class Iterator, class Less>
void parallelSort(Iterator first, Iterator last, const Less& less) {
    // The sort takes no context: as a task of an isolated one it is bound to that.
    parallelForIsolated(2, 1, [&](const IndexRange& range) {
        if (range.begin() == 0)
            tbb::parallel_sort(first, last, less);
    });
}

#endif

} // namespace Stratum
