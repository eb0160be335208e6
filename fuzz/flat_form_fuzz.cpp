// The option set's flat form: the options read from any bytes are the same after writing and reading them again.
#include "core/flat_form.h"
#include "fuzz/fuzz_target.h"

#include <algorithm>
#include <memory>
#include <vector>

namespace Orvane {
namespace {

using Fuzz::Require;
using Form = std::vector<uint8_t>;

// Reads from memory that ends one byte after the form: the reader may read that byte.
bool Read(const Form& form, OptionValues& values) {
    const auto memory = std::make_unique<uint8_t[]>(form.size() + 1);
    std::copy(form.begin(), form.end(), memory.get());
    return ReadFlatForm(memory.get(), form.size(), values);
}

Form Written(const OptionValues& values) {
    Form form(WriteFlatForm(values, nullptr, 0));
    Require(WriteFlatForm(values, form.data(), form.size()) == form.size(), "a form has the measured size");
    Form shorter(form.size() - 1);
    Require(WriteFlatForm(values, shorter.data(), shorter.size()) == 0, "a form is not written if it does not fit");
    return form;
}

// Reading cuts a key at its first zero byte, except the key of a buffer. A buffer without bytes becomes a boolean.
bool WouldCutAKey(const OptionValues& values) {
    return std::any_of(values.begin(), values.end(), [](const auto& entry) {
        return entry.first.find('\0') != std::string::npos && !std::holds_alternative<OptionBuffer>(entry.second);
    });
}

void Check(const Form& form) {
    OptionValues values;
    Read(form, values);  // the entries before the end of a cut form count
    const Form written = Written(values);
    OptionValues back;
    Require(Read(written, back), "a written form can be read");
    const Form again = Written(back);
    Require(again == written || WouldCutAKey(values), "reading returns the written options");
    OptionValues same;
    Require(Read(again, same) && Written(same) == again, "after the keys are cut, reading returns the written options");

    OptionValues part;
    Require(!Read(Form(again.data(), again.data() + form.size() % again.size()), part),
            "a form that is cut is refused");
    Require(std::includes(back.begin(), back.end(), part.begin(), part.end(), back.value_comp()),
            "a truncated form has the options before its end");
}

}  // namespace
}  // namespace Orvane

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Orvane::Check(Orvane::Form(data, data + size));
    return 0;
}
