// Stands in for the log formatter: writes down its arguments, shows the file "formatted" and ends with code 36.

#include <cstdio>

int main(int argc, char** argv) {
  if (std::FILE* arguments = std::fopen("arguments", "w"); arguments != nullptr) {
    for (int i = 1; i < argc; ++i) std::fprintf(arguments, "<%s>\n", argv[i]);
    std::fclose(arguments);
  }
  if (std::FILE* formatted = std::fopen("formatted", "r"); formatted != nullptr) {
    for (int c = 0; (c = std::getc(formatted)) != EOF;) std::putchar(c);
    std::fclose(formatted);
  }
  std::fputs("AMQ8101: told on stderr\n", stderr);
  return 36;
}
