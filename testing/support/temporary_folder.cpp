#include "testing/support/temporary_folder.h"

#include "platform/path.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <random>
#include <stdexcept>

namespace Orvane::Testing {

TemporaryFolder::TemporaryFolder() {
    std::random_device random;
    const std::string name = "orvane-测试-" + std::to_string(random()) + "-" + std::to_string(random());
    folder = std::filesystem::temp_directory_path() / Platform::PathFromUtf8(name);
    if (!std::filesystem::create_directory(folder)) {
        throw std::runtime_error("cannot create " + name);
    }
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code error;
    std::filesystem::remove_all(folder, error);
}

std::string TemporaryFolder::Path(const std::string& name) const {
    return Platform::Utf8FromPath(folder / Platform::PathFromUtf8(name));
}

std::string TemporaryFolder::Write(const std::string& name, const std::string& bytes) const {
    std::ofstream file(folder / Platform::PathFromUtf8(name), std::ios::binary);
    return file << bytes << std::flush ? Path(name) : throw std::runtime_error("cannot write " + name);
}

std::vector<std::string> TemporaryFolder::Names() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        names.push_back(Platform::Utf8FromPath(entry.path().filename()));
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::string ReadBytes(const std::string& path) {
    std::ifstream file(Platform::PathFromUtf8(path), std::ios::binary);
    if (!file) {
        throw std::runtime_error("cannot read " + path);
    }
    return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace Orvane::Testing
