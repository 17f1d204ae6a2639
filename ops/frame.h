// The frame that every volume sampling operator runs in: its output, and how it ends.
#pragma once

#include "Ostrum/Array.h"
#include "Ostrum/Job.h"
#include "Ostrum/Ptr.h"
#include "Ostrum/String.h"
#include "locations/cancellation.h"

#include <cstddef>
#include <exception>
#include <utility>

namespace Stratum {

/// Whether an exception is the host's cancellation, which only its text tells.
bool isCancellation(const std::exception& exception);

/// Stops the sibling work of the parallel algorithm that the operator was called from, if there is
/// one, and tells the host which operator ended.
void reportCancellation(const char* operatorName);

/// Calls `work(result)` on a new array of `count` default values and moves it into `out`. A job
/// that is cancelled beforehand leaves `out` untouched, one cancelled on the way leaves it empty;
/// other exceptions pass through.
template <class R, class Work>
void runOperator(const char* operatorName, std::size_t count, const R& defaultValue,
                 Ostrum::Ptr<Ostrum::Array<R>>& out, const Work& work) {
    auto result = Ostrum::makePtr<Ostrum::Array<R>>(count, defaultValue);
    try {
        if (Ostrum::isJobCancelled())
            return;
        work(*result);
        out = std::move(result);
    } catch (const std::exception& exception) {
        if (!isCancellation(exception))
            throw;
        reportCancellation(operatorName);
        out = Ostrum::makePtr<Ostrum::Array<R>>();
    }
}

} // namespace Stratum
