#include "testing/support/captured_log.h"

#include <orvane/log.h>

namespace Orvane::Testing {

namespace {

std::vector<std::pair<uint32_t, std::string>>* sink = nullptr;

}  // namespace

CapturedLog::CapturedLog() {
    sink = &lines;
    SetLogCallback([](uint32_t level, const char* text) { sink->emplace_back(level, text); });
}

CapturedLog::~CapturedLog() {
    SetLogCallback(nullptr);
    sink = nullptr;
}

}  // namespace Orvane::Testing
