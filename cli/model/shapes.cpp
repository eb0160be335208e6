#include "cli/model/shapes.h"

#include "cli/failure.h"
#include "cli/files/tensor_file.h"
#include "cli/printable.h"

#include <algorithm>
#include <charconv>
#include <iterator>

namespace Orvane::Cli {
namespace {

// An input without dimensions needs a shape too: its data cannot be set.
bool NeedsShape(const orvane::Tensor& input) {
    return input.shape.empty() || std::find(input.shape.begin(), input.shape.end(), -1) != input.shape.end();
}

// Returns WHICH for --shape: the name if a shell needs no quotes for it, otherwise the index.
std::string WhichOf(const orvane::Tensor& input) {
    const auto isPlain = [](char letter) {
        return (letter >= '0' && letter <= '9') || (letter >= 'a' && letter <= 'z') ||
               (letter >= 'A' && letter <= 'Z') || letter == '_' || letter == '.' || letter == '/' || letter == ':';
    };
    const std::string& name = input.name;
    const bool isIndex =
        std::all_of(name.begin(), name.end(), [](char letter) { return letter >= '0' && letter <= '9'; });
    return !isIndex && std::all_of(name.begin(), name.end(), isPlain) ? name : std::to_string(input.index);
}

// Returns "x=1,3,?,?". The user replaces the question marks.
std::string ShapeArgumentFor(const orvane::Tensor& input, const std::vector<int64_t>& shape) {
    std::string text = WhichOf(input);
    for (std::size_t i = 0; i < shape.size(); ++i) {
        text += i == 0 ? "=" : ",";
        text += shape[i] == -1 ? "?" : std::to_string(shape[i]);
    }
    return text;
}

std::string Sentence(const orvane::Tensor& input) {
    return input.shape.empty() ? input.Label() + " has no dimensions: give it one with --shape " + WhichOf(input) + "=1"
                               : input.Label() + " is " + ShapeText(input.shape) +
                                     ": give a size for each ? with --shape " + ShapeArgumentFor(input, input.shape);
}

// Returns a shape that such an input often has. If the first dimension is not 1, the first dynamic dimension is the
// batch.
std::vector<int64_t> Example(const orvane::Tensor& input) {
    constexpr std::size_t kPictureRank = 4;
    constexpr int64_t kPictureSize = 640;
    constexpr int64_t kOtherSize = 128;
    if (input.shape.empty()) {
        return {1};
    }
    std::vector<int64_t> shape = input.shape;
    bool hasBatch = shape[0] == 1;
    for (int64_t& dimension : shape) {
        if (dimension == -1) {
            dimension = !hasBatch ? 1 : shape.size() == kPictureRank ? kPictureSize : kOtherSize;
            hasBatch = true;
        }
    }
    return shape;
}

[[noreturn]] void RefuseMissing(const std::vector<const orvane::Tensor*>& missing) {
    std::string message;
    for (const orvane::Tensor* input : missing) {
        message += message.empty() ? "" : "\n";
        message += Sentence(*input);
    }
    Failure failure(message, {"For example (adjust the sizes):"});
    for (const orvane::Tensor* input : missing) {
        failure.missingArguments.insert(failure.missingArguments.end(),
                                        {"--shape", ShapeArgumentFor(*input, Example(*input))});
    }
    throw Failure(failure);
}

int64_t ParseDimension(const std::string& text, std::size_t begin, std::size_t end) {
    int64_t value = 0;
    const auto [stop, error] = std::from_chars(text.data() + begin, text.data() + end, value);
    return error == std::errc() && stop == text.data() + end ? value : 0;
}

}  // namespace

std::vector<ShapeArgument> ParseShapes(const std::vector<std::string>& texts) {
    std::vector<ShapeArgument> arguments;
    for (const std::string& text : texts) {
        ShapeArgument argument;
        // Searches from the end, because a name may have an equals sign.
        const std::size_t split = text.rfind('=');
        for (std::size_t begin = split; begin != std::string::npos && begin < text.size();) {
            const std::size_t end = std::min(text.find(',', begin + 1), text.size());
            argument.shape.push_back(ParseDimension(text, begin + 1, end));
            begin = end;
        }
        const bool isWrong = std::any_of(argument.shape.begin(), argument.shape.end(), [](int64_t d) { return d < 1; });
        if (split == std::string::npos || split == 0 || isWrong) {
            throw WrongUsage("--shape takes an input and its dimensions, as in 0=1,3,640,640, not \"" + text + "\"");
        }
        argument.which = text.substr(0, split);
        arguments.push_back(argument);
    }
    return arguments;
}

orvane::InputShapes ResolveShapes(const std::vector<ShapeArgument>& arguments,
                                  const std::vector<orvane::Tensor>& inputs) {
    std::vector<std::string> named;
    std::transform(arguments.begin(), arguments.end(), std::back_inserter(named),
                   [](const ShapeArgument& argument) { return argument.which; });
    const std::vector<const orvane::Tensor*> found = FindTensors(named, inputs, orvane::Side::Input);
    orvane::InputShapes shapes;
    for (std::size_t i = 0; i < found.size(); ++i) {
        const std::vector<int64_t>& shape = arguments[i].shape;
        const std::size_t rank = std::max<std::size_t>(found[i]->shape.size(), 1);
        if (shape.size() != rank) {
            throw Failure(found[i]->Label() + " is " + ShapeText(found[i]->shape) + ", and --shape gives " +
                              std::to_string(shape.size()) + (shape.size() == 1 ? " dimension" : " dimensions"),
                          {"Give " + std::to_string(rank) + "."});
        }
        shapes[found[i]->index] = shape;
    }
    std::vector<const orvane::Tensor*> missing;
    for (const orvane::Tensor& input : inputs) {
        if (NeedsShape(input) && !shapes.contains(input.index)) {
            missing.push_back(&input);
        }
    }
    if (!missing.empty()) {
        RefuseMissing(missing);
    }
    return shapes;
}

void RefuseDynamicInputs(const ModelOptions& options, const std::vector<orvane::Tensor>& inputs) {
    const auto dynamic = std::find_if(inputs.begin(), inputs.end(), NeedsShape);
    if (dynamic == inputs.end()) {
        return;
    }
    if (options.cache || options.IsEncrypted()) {
        throw Failure(Sentence(*dynamic),
                      {"Use orvane reshape with the plain model file, then encrypt the result or make the cache from "
                       "it."});
    }
    ResolveShapes({}, inputs);
}

}  // namespace Orvane::Cli
