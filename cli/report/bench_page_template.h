#pragma once

#include <string_view>

namespace Orvane::Cli {

// The bytes of bench_page.html.
std::string_view BenchPageTemplate();

}  // namespace Orvane::Cli
