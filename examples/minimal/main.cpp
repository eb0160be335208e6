#include <orvane/orvane.hpp>

#include <cstddef>
#include <cstdio>
#include <vector>

// Runs MODEL once on zeros, in a host process, and prints the first bytes of its first output.
int main(int argc, char** argv) {
    try {
        orvane::Options options;
        options.modelPath = argc > 1 ? argv[1] : "";
        options.hostProgram = "";  // the one that comes with the library; without this line the model runs in here
        orvane::Model model(options);
        model.Set(0, std::vector<std::byte>(model.Input(0).byteSize));
        model.Run();
        const std::vector<std::byte> output = model.Get<std::byte>(0);
        std::printf("%zu bytes:", output.size());
        for (std::size_t i = 0; i < output.size() && i < 4; ++i) {
            std::printf(" %02x", static_cast<unsigned>(output[i]));
        }
        std::printf("\n");
    } catch (const orvane::Error& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
