#include <orvane/orvane.h>

#include <cstdio>

int main() {
    const Orvane::OptionHandle options = Orvane::CreateOption();
    options->SetInt(Orvane::OptionCommonFramework, Orvane::FrameworkTypeOpenvino);
    Orvane::Interpreter interpreter;
    std::printf("%s: %s\n", Orvane::Version(), interpreter.Init(*options).message.c_str());
}
