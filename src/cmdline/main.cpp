#include "cmdline/run.h"

int main(int argc, char** argv) { return RunTarvo(argc, argv); }
