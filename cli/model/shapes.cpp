#include "cli/model/shapes.h"

#include "cli/failure.h"
#include "cli/files/tensor_file.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <utility>

namespace Orvane::Cli {
namespace {

// A scalar as well: it gets the one dimension without which it cannot be run.
bool NeedsShape(const ModelTensor& input) {
    return input.shape.empty() || std::find(input.shape.begin(), input.shape.end(), -1) != input.shape.end();
}

std::string Sentence(const ModelTensor& input) {
    if (input.shape.empty()) {
        return Label(input) + " has no dimensions, and one must be given";
    }
    std::vector<std::string> places;
    for (std::size_t i = 0; i < input.shape.size(); ++i) {
        if (input.shape[i] == -1) {
            places.push_back(std::to_string(i));
        }
    }
    std::string text = places.size() == 1 ? "dimension " : "dimensions ";
    for (std::size_t i = 0; i < places.size(); ++i) {
        text += i == 0 ? "" : i + 1 == places.size() ? " and " : ", ";
        text += places[i];
    }
    return Label(input) + " is " + ShapeText(input.shape) + ": " + text + " must be given";
}

// What sizes to try for the dynamic dimensions behind the first, of pictures and of all else. The first that the model
// takes are what is proposed.
constexpr std::pair<int64_t, int64_t> kSizes[] = {{640, 128}, {512, 512}, {320, 576}, {224, 64}, {48, 1}};

// Where the batch is, which is proposed as 1: the first dimension, or, when that has another size of its own, the first
// that is dynamic.
std::size_t PlaceOfBatch(const std::vector<int64_t>& shape) {
    return shape[0] == -1 || shape[0] == 1
               ? 0
               : static_cast<std::size_t>(std::find(shape.begin(), shape.end(), -1) - shape.begin());
}

std::vector<int64_t> WithSizes(const std::vector<int64_t>& shape, const std::pair<int64_t, int64_t>& sizes) {
    constexpr std::size_t kPictureRank = 4;
    if (shape.empty()) {
        return {1};
    }
    std::vector<int64_t> filled = shape;
    for (std::size_t i = 0; i < filled.size(); ++i) {
        if (filled[i] == -1) {
            filled[i] = i == PlaceOfBatch(shape) ? 1 : shape.size() == kPictureRank ? sizes.first : sizes.second;
        }
    }
    return filled;
}

bool Takes(const std::string& model, const orvane::InputShapes& shapes) {
    try {
        orvane::ReshapeFile(model, shapes, "");
        return true;
    } catch (const orvane::Error&) {
        return false;
    }
}

// As an argument: by name where a shell takes that as it is.
std::string Argument(const ModelTensor& input, const std::vector<int64_t>& shape) {
    const auto isPlain = [](char letter) {
        return (letter >= '0' && letter <= '9') || (letter >= 'a' && letter <= 'z') ||
               (letter >= 'A' && letter <= 'Z') || letter == '_' || letter == '.' || letter == '/' || letter == ':';
    };
    const std::string& name = input.name;
    const bool isIndex =
        std::all_of(name.begin(), name.end(), [](char letter) { return letter >= '0' && letter <= '9'; });
    std::string text = !isIndex && std::all_of(name.begin(), name.end(), isPlain) ? name : std::to_string(input.index);
    for (std::size_t i = 0; i < shape.size(); ++i) {
        text += i == 0 ? "=" : ",";
        text += std::to_string(shape[i]);
    }
    return text;
}

[[noreturn]] void RefuseMissing(const std::string& model, const orvane::InputShapes& given,
                                const std::vector<const ModelTensor*>& missing) {
    std::string message;
    for (const ModelTensor* input : missing) {
        message += message.empty() ? "" : "\n";
        message += Sentence(*input);
    }
    const auto withSizes = [&](const std::pair<int64_t, int64_t>& sizes) {
        orvane::InputShapes shapes = given;
        for (const ModelTensor* input : missing) {
            shapes[input->index] = WithSizes(input->shape, sizes);
        }
        return shapes;
    };
    const auto* const sizes = std::find_if(std::begin(kSizes), std::end(kSizes),
                                           [&](const auto& tried) { return Takes(model, withSizes(tried)); });
    const bool isTried = sizes != std::end(kSizes);
    Failure failure(message, {isTried ? "This works, with other sizes where these do not suit:"
                                      : "Give them, in place of these sizes, which the model does not take:"});
    const orvane::InputShapes shapes = withSizes(isTried ? *sizes : kSizes[0]);
    for (const ModelTensor* input : missing) {
        failure.missingArguments.insert(failure.missingArguments.end(),
                                        {"--shape", Argument(*input, shapes.at(input->index))});
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
        // From the end, where the dimensions are: a name may have an equals sign.
        const std::size_t split = text.rfind('=');
        for (std::size_t begin = split; begin != std::string::npos && begin < text.size();) {
            const std::size_t end = std::min(text.find(',', begin + 1), text.size());
            argument.shape.push_back(ParseDimension(text, begin + 1, end));
            begin = end;
        }
        const bool isWrong = std::any_of(argument.shape.begin(), argument.shape.end(), [](int64_t d) { return d < 1; });
        if (split == std::string::npos || split == 0 || isWrong) {
            throw WrongUsage("--shape takes an input and its dimensions, as in 0=1,3,640,640, and not \"" + text +
                             "\"");
        }
        argument.which = text.substr(0, split);
        arguments.push_back(argument);
    }
    return arguments;
}

orvane::InputShapes ResolveShapes(const std::string& model, const std::vector<ShapeArgument>& arguments,
                                  const std::vector<ModelTensor>& inputs) {
    std::vector<std::string> named;
    std::transform(arguments.begin(), arguments.end(), std::back_inserter(named),
                   [](const ShapeArgument& argument) { return argument.which; });
    const std::vector<const ModelTensor*> found = FindTensors(named, inputs, TensorTypeInput);
    orvane::InputShapes shapes;
    for (std::size_t i = 0; i < found.size(); ++i) {
        const std::vector<int64_t>& shape = arguments[i].shape;
        const std::size_t rank = std::max<std::size_t>(found[i]->shape.size(), 1);
        if (shape.size() != rank) {
            throw Failure(Label(*found[i]) + " is " + ShapeText(found[i]->shape) + ", and --shape gives " +
                              std::to_string(shape.size()) + (shape.size() == 1 ? " dimension" : " dimensions"),
                          {"Give " + std::to_string(rank) + "."});
        }
        shapes[found[i]->index] = shape;
    }
    std::vector<const ModelTensor*> missing;
    for (const ModelTensor& input : inputs) {
        if (NeedsShape(input) && !shapes.contains(input.index)) {
            missing.push_back(&input);
        }
    }
    if (!missing.empty()) {
        RefuseMissing(model, shapes, missing);
    }
    return shapes;
}

void RefuseDynamicInputs(const ModelOptions& options, const std::vector<ModelTensor>& inputs) {
    const auto dynamic = std::find_if(inputs.begin(), inputs.end(), NeedsShape);
    if (dynamic == inputs.end()) {
        return;
    }
    if (options.cache || options.IsEncrypted()) {
        throw Failure(Sentence(*dynamic),
                      {"Give the plain model file to orvane reshape, and encrypt what it writes or make "
                       "the cache from that."});
    }
    ResolveShapes(*options.model, {}, inputs);
}

}  // namespace Orvane::Cli
