// Compares a text with a golden file, byte for byte.
#pragma once

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <sstream>
#include <string>

namespace tlr2::test {

inline std::string FileBytes(const std::string& name) {
  std::ifstream in(name, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

inline void ReplaceAll(std::string& text, const std::string& from, const std::string& to) {
  for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size())
    text.replace(at, from.size(), to);
}

/// Fails with the first line that differs. What was found is then left beside the program as NAME.found, to be looked
/// at and, when it is right, copied over the golden file.
inline void ExpectGolden(const std::string& name, const std::string& found, const std::string& leaveIn,
                         const std::string& upTo = "") {
  std::string expected = FileBytes(std::string(TLR2_GOLDEN_TEXTS) + "/" + name);
  // A build may lack what stands from `upTo` on.
  if (!upTo.empty() && expected.find(upTo) != std::string::npos) expected.erase(expected.find(upTo));
  if (found == expected) return;
  const std::string left = leaveIn + "/" + name + ".found";
  std::ofstream(left, std::ios::binary) << found;
  std::istringstream a(expected), b(found);
  std::string wanted, got;
  for (int line = 1;; ++line) {
    const bool more = static_cast<bool>(std::getline(a, wanted)), also = static_cast<bool>(std::getline(b, got));
    if (!more && !also) break;
    if (more != also || wanted != got) {
      ADD_FAILURE() << name << ":" << line << "\n  golden: " << (more ? wanted : "<end>")
                    << "\n  found:  " << (also ? got : "<end>") << "\n  all of it is in " << left;
      return;
    }
  }
  ADD_FAILURE() << name << " differs in its line ends; see " << left;
}

}  // namespace tlr2::test
