// zelk: the corner pin on the command line.
#include "apps/zelk/cli.h"

int main(int argc, char** argv) { return zelk::runProgram(argc, argv); }
