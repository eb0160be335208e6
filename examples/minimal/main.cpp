#include <orvane/orvane.hpp>

#include <cstddef>
#include <cstdio>
#include <vector>

// Runs MODEL once in a host process, with zeros as its first input, and prints the first number of its first output,
// which must be float32.
int main(int argc, char** argv) {
    try {
        orvane::Options options;
        options.modelPath = argc > 1 ? argv[1] : "";
        options.hostProgram = "";  // the host program beside the library; without this line the model runs here
        orvane::Model model(options);
        model.Set(0, std::vector<std::byte>(model.Input(0).byteSize));
        model.Run();
        const std::vector<float> output = model.Get<float>(0);
        std::printf("%zu bytes, first number %.3f\n", output.size() * sizeof(float), output.at(0));
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
