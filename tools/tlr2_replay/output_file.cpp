// Parts and their names.
#include "tlr2_replay/output_file.h"

#include <cerrno>
#include <filesystem>

#include "tlr2_replay/command.h"
#include "tlr2_replay/limits.h"
#include "tlr2_replay/options.h"

namespace tlr2::tool {
namespace {

constexpr const char* kPartEnding = ".part";

// The standard's paths do not take every name that the system's own functions take on Windows: such a name is then no
// more than its text.

bool IsSameFile(const std::string& a, const std::string& b) try {
  std::error_code error;
  return std::filesystem::equivalent(a, b, error) && !error;
} catch (const std::filesystem::filesystem_error&) {
  return a == b;
}

bool IsDeviceOrPipe(const std::string& path) try {
  std::error_code error;
  return std::filesystem::is_other(path, error);
} catch (const std::filesystem::filesystem_error&) {
  return false;
}

/// The file that gets the bytes: what a link points to, and not the link, is replaced.
std::string BehindLinks(const std::string& path) try {
  std::error_code error;
  if (!std::filesystem::is_symlink(path, error)) return path;
  const std::filesystem::path target = std::filesystem::canonical(path, error);
  return error ? path : target.string();
} catch (const std::filesystem::filesystem_error&) {
  return path;
}

}  // namespace

void RefuseToReplace(const std::string& input, const std::string& path) {
  for (const std::string& written : {path, BehindLinks(path) + kPartEnding}) {
    if (IsSameFile(input, written)) FailUsage("'" + written + "' is the file that is read: it would be written over");
  }
}

OutputFile::OutputFile(std::string path) : path_(std::move(path)) {
  const bool straight = IsDeviceOrPipe(path_);
  final_ = straight ? path_ : BehindLinks(path_);
  part_ = straight ? path_ : final_ + kPartEnding;
  file_ = std::fopen(part_.c_str(), "wb");
  if (file_ == nullptr) Fail();
  kept_ = straight;
  if (!straight) RemoveAtEarlyEnd(part_.c_str());
}

OutputFile::~OutputFile() {
  if (file_ != nullptr) std::fclose(file_);
  if (!kept_) std::remove(part_.c_str());
  KeepAtEarlyEnd(part_.c_str());
}

void OutputFile::Write(const void* data, std::size_t size) {
  if (size != 0 && std::fwrite(data, 1, size, file_) != size) Fail();
}

void OutputFile::Close() {
  std::FILE* file = file_;
  file_ = nullptr;
  if (std::fclose(file) != 0) Fail();
}

void OutputFile::Keep() {
  if (kept_) return;
  kept_ = std::rename(part_.c_str(), final_.c_str()) == 0;
  // Windows gives a file no name that another has.
  if (!kept_ && errno == EEXIST && std::remove(final_.c_str()) == 0) {
    kept_ = std::rename(part_.c_str(), final_.c_str()) == 0;
  }
  if (!kept_) Fail();
}

void OutputFile::Fail() const { throw CommandFailure{kFailed, "cannot write '" + path_ + "'"}; }

}  // namespace tlr2::tool
