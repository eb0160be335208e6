#pragma once

#include "cli/run_cli.h"
#include "testing/support/tiny_models.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <tuple>
#include <vector>

namespace Orvane::Cli {

// What a run of the whole program gave.
struct CapturedRun {
    int exitValue;
    std::string out;
    std::string err;
};

inline CapturedRun RunCaptured(const std::vector<std::string>& arguments) {
    std::ostringstream out;
    std::ostringstream err;
    const int exitValue = RunCli(arguments, out, err);
    return {exitValue, out.str(), err.str()};
}

// Of tests that run whole command lines on files in a folder of their own.
class CommandLineTest : public testing::Test {
 protected:
    // In texts "@" stands for the folder.
    std::string InFolder(std::string text) const {
        for (size_t place = 0; (place = text.find('@', place)) != std::string::npos;) {
            text.replace(place, 1, folder.Path(""));
        }
        return text;
    }

    // Runs the words of `line`, of which '' is an empty one.
    CapturedRun Run(const std::string& line) const {
        std::vector<std::string> arguments;
        std::istringstream words(line);
        for (std::string word; words >> word;) {
            arguments.push_back(word == "''" ? "" : InFolder(word));
        }
        return RunCaptured(arguments);
    }

    std::string Held(const std::string& name) const { return Testing::ReadBytes(folder.Path(name)); }

    static std::string BytesOf(const std::vector<float>& values) {
        return {reinterpret_cast<const char*>(values.data()), values.size() * sizeof(float)};
    }

    Testing::TemporaryFolder folder;
    std::string model = Testing::AddModel({1, 2, 3}).WriteTo(folder, "m");
    std::string x = folder.Write("x", BytesOf({10, 20, -30}));
};

// An exit value, the command line that it answers, and a part of what is said to that.
using Refusal = std::tuple<int, std::string, std::string>;

}  // namespace Orvane::Cli
