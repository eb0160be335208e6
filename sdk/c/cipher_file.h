#pragma once

#include <orvane/model_file_cipher.h>

#include <cstdint>
#include <string>

namespace Orvane::C {

// These functions encrypt or decrypt the file `in` to `out`, which may be `in`. They process pieces of 4 MiB, so large
// files need little memory. `out` appears whole or not at all. They throw `Failure` and `FileError`.

// The progress function of the caller, or null. A result other than 0 cancels the call.
struct FileProgress {
    int32_t (*progress)(void* user, uint64_t doneBytes, uint64_t totalBytes);
    void* user;
};

// Refuses formats that cannot be read encrypted. Refuses a last piece of 1 to 15 bytes, which cannot be restored,
// unless `pad` is true: it then pads the piece.
void EncryptFile(const std::string& in, const std::string& out, const ModelFileCipher& cipher, bool pad,
                 const FileProgress& progress);
void DecryptFile(const std::string& in, const std::string& out, const ModelFileCipher& cipher,
                 const FileProgress& progress);

}  // namespace Orvane::C
