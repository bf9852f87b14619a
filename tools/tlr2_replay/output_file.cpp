// Parts and their names.
#include "tlr2_replay/output_file.h"

#include <filesystem>

#include "tlr2_replay/command.h"
#include "tlr2_replay/limits.h"

namespace tlr2::tool {

OutputFile::OutputFile(std::string path) : path_(std::move(path)), part_(path_ + ".part") {
  file_ = std::fopen(part_.c_str(), "wb");
  if (file_ == nullptr) Fail();
  RemoveAtEarlyEnd(part_.c_str());
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
  std::error_code error;
  std::filesystem::rename(part_, path_, error);
  if (error) Fail();
  kept_ = true;
}

void OutputFile::Fail() const { throw CommandFailure{kFailed, "cannot write '" + path_ + "'"}; }

}  // namespace tlr2::tool
