#pragma once

// The built-in test of the message file format (-dxtest): a message whose fields all differ and whose data holds every
// byte is written in three layouts and read back.

// Prints its progress on standard output; a mismatch ends in CSTrap.
void RunFileFormatTest();
