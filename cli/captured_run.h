#pragma once

#include "cli/run_cli.h"
#include "testing/support/tiny_models.h"

#include <gtest/gtest.h>

#include <iostream>
#include <regex>
#include <span>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

namespace Orvane::Cli {

// The result of a run of the whole program.
struct CapturedRun {
    int exitValue;
    std::string out;
    std::string err;
};

inline CapturedRun RunCaptured(const std::vector<std::string>& arguments, const std::string& standardInput = "") {
    const std::istringstream in(standardInput);
    std::streambuf* const earlier = std::cin.rdbuf(in.rdbuf());
    std::ostringstream out;
    std::ostringstream err;
    const int exitValue = RunCli(arguments, out, err);
    std::cin.rdbuf(earlier);
    return {exitValue, out.str(), err.str()};
}

// An exit value, the command line with this exit value, and a part of its message.
using Refusal = std::tuple<int, std::string, std::string>;

// For tests that run command lines on files in a temporary folder. In texts "@" means that folder.
class CommandLineTest : public testing::Test {
 protected:
    std::string InFolder(const std::string& text) const {
        return std::regex_replace(text, std::regex("@"), folder.Path(""));
    }

    // Runs the words of `line`; the word '' is empty.
    CapturedRun Run(const std::string& line, const std::string& standardInput = "") const {
        std::vector<std::string> arguments;
        std::istringstream words(line);
        for (std::string word; words >> word;) {
            arguments.push_back(word == "''" ? "" : InFolder(word));
        }
        return RunCaptured(arguments, standardInput);
    }

    // Wrong usage refers to the help. No case leaves a new file.
    void ExpectRefusals(std::span<const Refusal> refusals) const {
        const std::vector<std::string> before = folder.Names();
        for (const auto& [exitValue, line, reason] : refusals) {
            const CapturedRun run = Run(line);
            EXPECT_EQ(run.exitValue, exitValue) << line;
            EXPECT_TRUE(run.err.starts_with("orvane: ")) << run.err;
            EXPECT_NE(run.err.find(InFolder(reason)), std::string::npos) << line << "\n" << run.err;
            EXPECT_EQ(run.err.find("\nTry: orvane ") != std::string::npos, exitValue == 2) << line;
            EXPECT_EQ(folder.Names(), before) << line;
        }
    }

    std::string Held(const std::string& name) const { return Testing::ReadBytes(folder.Path(name)); }

    static std::string BytesOf(const std::vector<float>& values) {
        return {reinterpret_cast<const char*>(values.data()), values.size() * sizeof(float)};
    }

    Testing::TemporaryFolder folder;
    std::string model = Testing::AddModel({1, 2, 3}).WriteTo(folder, "m");
    std::string x = folder.Write("x", BytesOf({10, 20, -30}));
};

}  // namespace Orvane::Cli
