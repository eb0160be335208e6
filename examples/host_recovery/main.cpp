// Runs a model in a host process until that process ends, and continues with a new one. Compares the results, bit for
// bit, with those of the model in this process.

#include <orvane/orvane.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <exception>
#include <future>
#include <iostream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

using Outputs = std::vector<std::vector<uint8_t>>;

// A call failed because the host process ended. A new load repairs only this failure.
struct HostExit : std::runtime_error {
    using std::runtime_error::runtime_error;
};

void Check(const Orvane::Status& status, const std::string& explanation) {
    if (status.reason == Orvane::FailureReasonHostEnded) {
        throw HostExit(explanation + ": " + status.message);
    }
    if (!status.Ok()) {
        throw std::runtime_error(explanation + ":\n" + status.message);
    }
}

// Destroy tensors before their interpreter, and before it loads a model again.
struct Model {
    Orvane::Interpreter interpreter;
    std::vector<Orvane::TensorHandle> inputs;
    std::vector<Orvane::TensorHandle> outputs;
};

// Do not copy a tensor that is larger than the section: that would end this process.
void CheckSize(const Orvane::TensorImpl& tensor) {
    const std::vector<int64_t> shape = tensor.GetShape();
    const bool dynamic = std::any_of(shape.begin(), shape.end(), [](int64_t dimension) { return dimension < 0; });
    if (dynamic || tensor.GetByteSize() > Orvane::kMaxHostTensorBytes) {
        throw std::runtime_error("a tensor has a dynamic dimension or more than 21 MiB, pass another model");
    }
}

std::vector<Orvane::TensorHandle> TensorsOf(Orvane::Interpreter& interpreter, Orvane::TensorType side, int32_t count) {
    std::vector<Orvane::TensorHandle> tensors;
    for (int32_t i = 0; i < count; ++i) {
        tensors.push_back(interpreter.GetTensor(side, static_cast<uint32_t>(i)));
        if (!tensors.back()) {
            throw HostExit("cannot look at the model's tensors");
        }
        CheckSize(*tensors.back());
    }
    return tensors;
}

// Loads the model in a new host process of the program `host`, or in this process if `host` is empty.
void Load(Model& model, const std::string& path, const std::string& host) {
    const Orvane::OptionHandle options = Orvane::CreateOption();
    options->SetInt(Orvane::OptionCommonFramework, Orvane::FrameworkTypeOpenvino);
    options->SetString(Orvane::OptionCommonModelPath, path.c_str());
    options->SetString(Orvane::OptionCommonHost, host.c_str());

    model.inputs.clear();
    model.outputs.clear();
    Check(model.interpreter.Init(*options), "cannot load " + path + (host.empty() ? "" : " in a process of " + host));
    model.inputs = TensorsOf(model.interpreter, Orvane::TensorTypeInput, model.interpreter.GetInputCount());
    model.outputs = TensorsOf(model.interpreter, Orvane::TensorTypeOutput, model.interpreter.GetOutputCount());
}

Outputs Infer(Model& model) {
    for (const Orvane::TensorHandle& input : model.inputs) {
        // As float32 these bytes are 0.747. Other element types get zeros, which every model accepts.
        const uint8_t byte = input->GetDataType() == Orvane::DataTypeFloat32 ? 0x3F : 0;
        const std::vector<uint8_t> data(static_cast<size_t>(input->GetByteSize()), byte);
        Check(input->CopyFrom(data.data(), static_cast<uint32_t>(data.size())), "cannot copy an input in");
    }
    Check(model.interpreter.Invoke(), "cannot run the model");
    Outputs outputs;
    for (const Orvane::TensorHandle& output : model.outputs) {
        std::vector<uint8_t>& data = outputs.emplace_back(static_cast<size_t>(output->GetByteSize()));
        Check(output->CopyTo(data.data(), static_cast<uint32_t>(data.size())), "cannot copy an output out");
    }
    return outputs;
}

void InferUntilHostExit(Model& model) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    try {
        while (std::chrono::steady_clock::now() < end) {
            Infer(model);
        }
    } catch (const HostExit& failure) {
        std::cout << "A call failed: " << failure.what() << "\n";
        return;
    }
    throw std::runtime_error("the host process did not end within 30 s, end it while this program runs");
}

void CheckSame(const Outputs& outputs, const Outputs& expected) {
    if (outputs != expected) {
        throw std::runtime_error("the host process returned other bits than this process");
    }
}

// Crashes the host process while another thread uses it. There, any shape with dimensions throws an uncaught exception.
void CrashHost(Orvane::TensorImpl& tensor) {
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    std::cout << "Crashing the host process\n";
    tensor.Resize({1}).Ok();
}

void RunAgainAfterHostEnd(const std::string& path, const std::string& host, bool crashes) {
    Model local;
    Load(local, path, "");
    const Outputs expected = Infer(local);
    std::cout << "In this process: the model runs\n";

    Model remote;
    Load(remote, path, host);
    CheckSame(Infer(remote), expected);
    std::cout << "In a host process: the same bits\n";

    std::cout << "Running until the host process ends\n";
    {
        std::future<void> crash;  // the end of this block waits for it
        if (crashes) {
            crash = std::async(std::launch::async, [&remote] { CrashHost(*remote.inputs.at(0)); });
        }
        InferUntilHostExit(remote);
    }

    Load(remote, path, host);
    CheckSame(Infer(remote), expected);
    std::cout << "In a new host process: the same bits\n";
}

}  // namespace

int main(int argc, char** argv) {
    std::vector<std::string> arguments(argv + std::min(argc, 1), argv + argc);
    const bool crashes = !arguments.empty() && arguments[0] == "--crash";
    if (crashes) {
        arguments.erase(arguments.begin());
    }
    if (arguments.size() != 1 && arguments.size() != 2) {
        std::cerr << "usage: host_recovery [--crash] MODEL [HOST]\n"
                     "Runs MODEL in a process of the program HOST until that process ends, then in a new one.\n"
                     "By default, HOST is orvane_host beside this program.\n"
                     "--crash crashes the process; without it, end the process while this program runs.\n";
        return 2;
    }
    std::cout << std::unitbuf;  // prints each line at once
    try {
        const std::string host = arguments.size() == 2 ? arguments[1] : Orvane::HostPathBesideProgram();
        RunAgainAfterHostEnd(arguments[0], host, crashes);
        return 0;
    } catch (const std::exception& error) {
        std::cerr << "host_recovery: " << error.what() << "\n";
        return 1;
    }
}
