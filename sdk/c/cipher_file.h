#pragma once

#include <orvane/model_file_cipher.h>

#include <cstdint>
#include <string>

namespace Orvane::C {

// The file `in` through the cipher to `out`, which may be the same: 4 MiB at a time, so that memory stays small
// whatever the file's size, and `out` appears whole or not at all. Throw `Failure` and `FileError`.

// The caller's function, or null, that is told how far a file is, and gives up by anything but 0.
struct FileProgress {
    int32_t (*progress)(void* user, uint64_t doneBytes, uint64_t totalBytes);
    void* user;
};

// Refuses formats that are never read encrypted, and a last piece of 1 to 15 bytes, which would not come back whole,
// unless `pad` fills it up.
void EncryptFile(const std::string& in, const std::string& out, const ModelFileCipher& cipher, bool pad,
                 const FileProgress& progress);
void DecryptFile(const std::string& in, const std::string& out, const ModelFileCipher& cipher,
                 const FileProgress& progress);

}  // namespace Orvane::C
