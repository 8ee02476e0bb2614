#include "tarv/TARVVersion.hpp"

#include <CLI/CLI.hpp>

#include <iostream>

int main(int argc, char** argv) {
    CLI::App app{"tarvguitar: chord shapes for fretted, stringed instruments"};
    app.set_version_flag("--version", std::string(tarv::TARVVersionString()));
    CLI11_PARSE(app, argc, argv);
    std::cout << "tarvguitar " << tarv::TARVVersionString() << "\n";
    return 0;
}
