#pragma once

#include <atomic>
#include <cstdint>

namespace Orvane {

// What a load is at, for a display; the numbers are those of the C interface.
enum class LoadStep : int32_t { None, Reading, Compiling, Importing, Writing, StartingHost, InHost };

// Of all loads in this process the step that was entered last.
inline std::atomic<LoadStep> loadStep{LoadStep::None};

// At its end nothing is being loaded.
struct LoadStepScope {
    LoadStepScope() = default;
    ~LoadStepScope() { loadStep = LoadStep::None; }
    LoadStepScope(const LoadStepScope&) = delete;
    LoadStepScope& operator=(const LoadStepScope&) = delete;
};

}  // namespace Orvane
