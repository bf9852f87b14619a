// A file that appears under its name only when it is whole.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>

namespace tlr2::tool {

/// Ends the command as wrong usage when writing `path` would replace `input`, which is being read, itself or by its
/// part.
void RefuseToReplace(const std::string& input, const std::string& path);

/// Written as "<path>.part". Gone again unless Keep was called, also when a limit or Ctrl-C ends the program; what
/// stood under the name before is then as it was. Devices and pipes have no part: they are written straight.
class OutputFile {
 public:
  /// Fails the command with exit code 4 when the file cannot be made.
  explicit OutputFile(std::string path);
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  std::FILE* file() noexcept { return file_; }
  const std::string& partPath() const noexcept { return part_; }
  /// Fails the command with exit code 4 on a short write.
  void Write(const void* data, std::size_t size);
  /// Closes the part so that it can be read back; nothing may be written after that.
  void Close();
  /// Gives the closed part its name.
  void Keep();

 private:
  [[noreturn]] void Fail() const;

  std::string path_;          // as it was given, for messages
  std::string final_, part_;  // equal when written straight
  std::FILE* file_;
  bool kept_ = false;
};

}  // namespace tlr2::tool
