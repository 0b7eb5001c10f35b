#pragma once

// The program's version, shown in the banner and written into file headers.
inline constexpr char kVersion[] = "9.1.1";
