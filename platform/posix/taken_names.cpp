#include "platform/taken_names.h"

namespace Orvane::Platform {

struct NamesHeld::State {};

void NamesHeld::Closing::Close(Value held) noexcept {
    delete held;
}

NamesHeld::NamesHeld() : state(new State) {}

bool IsNameTaken(const std::string& /*name*/) {
    return false;
}

}  // namespace Orvane::Platform
