#include <cstdio>

#include "cli.hpp"

int main(int argc, char** argv) { return plexa_cli::run(argc, argv, stdout, stderr); }
