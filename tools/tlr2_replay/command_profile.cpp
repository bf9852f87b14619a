// profile: where the time of a capture's frames goes, by the driver's own scopes.
#include <cstdio>

#include "platform/clock.h"
#include "settings/profiler.h"
#include "tlr2_replay/command.h"
#include "tlr2_replay/console.h"
#include "tlr2_replay/load.h"
#include "tlr2_replay/options.h"
#include "tlr2_replay/profile_forms.h"
#include "tlr2_replay/session_arguments.h"

namespace tlr2::tool {

int RunProfile(const Words& words) {
  CommandLine line("profile");
  std::string file, format = "text";
  std::uint32_t repeats = 1;
  SessionArguments arguments;
  line.AddFile(file);
  line.Add("--format", format,
           "text: the report of the call summary; chrome: JSON for trace viewers; folded: stacks for flame graphs, in "
           "nanoseconds",
           {.showsDefault = true, .choices = {"text", "chrome", "folded"}});
  line.AddFlag("--json", line.json, "The same as --format chrome", {.excludes = {"--format"}});
  line.Add("--repeats", repeats, "How often to draw the frames", {.showsDefault = true, .range = {{1, 100000}}});
  arguments.AddTo(line);
  if (const auto code = line.Parse(words)) return *code;
  if (line.json) format = "chrome";
#if TLR2_PROFILING
  const SessionOptions options = arguments.Options();
  CaptureContents capture = LoadCapture(file);
  if (capture.streams.empty()) throw CommandFailure{kFailed, "the capture has no frames"};
  Session session(capture, options);
  Progress progress("frame", static_cast<std::uint64_t>(repeats) * session.FrameCount());
  std::uint64_t done = 0;
  ProfileReset();
  for (std::uint32_t pass = 0; pass < repeats; ++pass) {
    session.Rewind();
    while (session.NextFrame() < session.FrameCount()) {
      StopIfInterrupted();
      progress.Show(done++);
      session.Step();
    }
  }
  Progress::Clear();
  if (format == "text") {
    ProfileReport(stdout);
    return kDone;
  }
  const auto frequency = static_cast<double>(TicksPerSecond());
  const ProfileSummary all = MergedProfile();
  const std::string out = format == "chrome" ? ChromeTrace(all, frequency) : FoldedStacks(all, frequency);
  std::fwrite(out.data(), 1, out.size(), stdout);
  return kDone;
#else
  throw CommandFailure{kFailed, "this build has no profiler (TLR2_PROFILING is 0)"};
#endif
}

}  // namespace tlr2::tool
