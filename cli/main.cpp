#include "cli/run_cli.h"
#include "platform/terminal.h"

#include <iostream>

int main(int argc, char** argv) {
    Orvane::Platform::UseUtf8Console();
    Orvane::Platform::UseBinaryStandardStreams();
    return Orvane::Cli::RunCli(Orvane::Platform::Utf8Arguments(argc, argv), std::cout, std::cerr);
}
