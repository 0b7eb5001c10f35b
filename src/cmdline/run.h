#pragma once

// The run driver: from the command line to the exit status, as the list of steps that it is.

// Returns the exit status of the process: what the system makes of the result code (0, or an MQ reason code), or of the
// interrupt that has ended the run.
int RunTarvo(int argc, char** argv);
