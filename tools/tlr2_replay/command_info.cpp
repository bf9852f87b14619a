// info: what a capture holds.
#include <cstdio>

#include "tlr2_replay/load.h"
#include "tlr2_replay/options.h"

namespace tlr2::tool {

int RunInfo(const Words& words) {
  CommandLine line("info");
  std::string file;
  line.AddFile(file);
  line.AddJson();
  if (const auto code = line.Parse(words)) return *code;
  const CaptureContents contents = LoadCapture(file);
  std::printf("%ux%u, %zu frames\n", static_cast<unsigned>(contents.width), static_cast<unsigned>(contents.height),
              contents.streams.size());
  return kDone;
}

}  // namespace tlr2::tool
