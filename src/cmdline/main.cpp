#include "cmdline/run.h"
#include "platform/system.h"

int main(int argc, char** argv) { return ExitStatus(RunTarvo(argc, argv)); }
