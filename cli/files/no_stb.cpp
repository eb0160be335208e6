// Replaces stb.cpp in a build without stb.
#include "cli/failure.h"
#include "cli/files/picture.h"

namespace Orvane::Cli {
namespace {

[[noreturn]] void Refuse(const std::string& what) {
    throw Failure(what + ": this orvane was built without stb", {"Give an .npy file."});
}

}  // namespace

Picture DecodePicture(const std::string& /*bytes*/, int /*channels*/, const std::string& path) {
    Refuse(path + " cannot be read");
}

Picture Scaled(const Picture& /*picture*/, int /*width*/, int /*height*/) {
    Refuse("a picture cannot be scaled");
}

std::string Inflate(const std::string& /*deflated*/, std::size_t /*size*/) {
    Refuse("a compressed .npz cannot be read");
}

}  // namespace Orvane::Cli
