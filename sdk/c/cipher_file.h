#pragma once

#include <orvane/model_file_cipher.h>

#include <string>

namespace Orvane::C {

// The file `in` through the cipher to `out`, which may be the same: 4 MiB at a time, so that memory stays small
// whatever the file's size, and `out` appears whole or not at all. Throw `Failure` and `FileError`.

// A last piece of 1 to 15 bytes would not come back whole: it is refused, or filled up when `pad` says so.
void EncryptFile(const std::string& in, const std::string& out, const ModelFileCipher& cipher, bool pad);
void DecryptFile(const std::string& in, const std::string& out, const ModelFileCipher& cipher);

}  // namespace Orvane::C
