// What a report function writes to its file.
#pragma once

#include <cstdio>
#include <regex>
#include <string>

namespace tlr2::test {

inline std::string Written(void (*report)(std::FILE*)) {
  std::FILE* file = std::tmpfile();
  if (file == nullptr) return "no temporary file";
  report(file);
  std::string text(static_cast<std::size_t>(std::ftell(file)), '\0');
  std::rewind(file);
  text.resize(std::fread(text.data(), 1, text.size(), file));
  std::fclose(file);
  return text;
}

inline std::size_t Count(const std::string& text, const std::string& part) {
  std::size_t count = 0;
  for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
  return count;
}

}  // namespace tlr2::test
