#include "testing/posix/processes.h"

#include <gtest/gtest.h>

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace Orvane::Testing {

size_t Entries(const std::string& folder) {
    return static_cast<size_t>(std::distance(std::filesystem::directory_iterator(folder), {}));
}

size_t Names(uint32_t moduleWord) {
    const std::string word = std::string("_").append(std::to_string(moduleWord)).append("d_");
    size_t count = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/dev/shm")) {
        count += entry.path().filename().string().find(word) != std::string::npos ? 1 : 0;
    }
    return count;
}

pid_t Fork(const std::function<void()>& work) noexcept {
    const pid_t child = fork();
    if (child == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        work();
        _exit(0);
    }
    return child;
}

std::string End(pid_t child) {
    int status = 0;
    if (waitpid(child, &status, 0) != child) {
        return "no such child";
    }
    std::string end = WIFEXITED(status) ? "exit " : "signal ";
    return end += std::to_string(WIFEXITED(status) ? WEXITSTATUS(status) : WTERMSIG(status));
}

void InChild(const std::function<void()>& work) {
    EXPECT_EQ(End(Fork([&] {
                  alarm(60);
                  work();
                  _exit(testing::Test::HasFailure() ? 1 : 0);
              })),
              "exit 0");
}

std::string InStatus(uint32_t process, const std::string& key) {
    std::ifstream status("/proc/" + std::to_string(process) + "/status");
    std::string line;
    while (std::getline(status, line) && !line.starts_with(key + ":\t")) {
    }
    return status ? line.substr(key.size() + 2) : "";
}

}  // namespace Orvane::Testing
