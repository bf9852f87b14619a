// The call summary: how often each entry was called in the process's life, and which calls a capture cannot replay.
#include "capture/call_summary.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "api/accounting.h"
#include "capture/frame_tick.h"
#include "settings/occupancy.h"
#include "settings/profiler.h"
#include "settings/status.h"
#include "tiles/render_frame.h"

namespace tlr2 {
namespace {

// Fixed, not derived from the command table: glTexEnvf, glTexEnviv and glTexParameterf are absent on purpose, though
// they reach the stream through the entries they forward to.
constexpr const char* kRoundTrippable[] = {
    "glMatrixMode",       "glLoadIdentity", "glLoadMatrixf",    "glMultMatrixf",   "glPushMatrix",
    "glPopMatrix",        "glTranslatef",   "glRotatef",        "glScalef",        "glOrtho",
    "glFrustum",          "glViewport",     "glDepthRange",     "glScissor",       "glEnable",
    "glDisable",          "glBlendFunc",    "glAlphaFunc",      "glDepthFunc",     "glDepthMask",
    "glColorMask",        "glTexEnvi",      "glTexEnvfv",       "glTexParameteri", "glPixelStorei",
    "glCullFace",         "glFrontFace",    "glShadeModel",     "glPolygonMode",   "glPolygonOffset",
    "glActiveTextureARB", "glGenTextures",  "glDeleteTextures", "glBindTexture",   "glTexImage2D",
    "glTexSubImage2D",    "glColor3f",      "glColor3fv",       "glColor3ubv",     "glColor4f",
    "glColor4fv",         "glColor4ub",     "glColor4ubv",      "glTexCoord2f",    "glTexCoord2fv",
    "glClearColor",       "glClearDepth",   "glClear",          "glBegin",         "glEnd",
    "glVertex2f",         "glVertex2fv",    "glVertex3f",       "glVertex3fv",     "glReadPixels",
};
static_assert(sizeof kRoundTrippable / sizeof kRoundTrippable[0] == 55);

struct CountRow {
  std::uint64_t count;
  int index;
};

const char* NameOf(int index) noexcept { return index >= 0 && index < kEntryCount ? EntryNames[index] : "?"; }

void WriteDriftScan(std::FILE* file, const CountRow (&rows)[kEntryCount]) noexcept {
  const auto drifts = [](const CountRow& row) {
    const char* name = NameOf(row.index);
    return row.count != 0 && name[0] != 'w' && !IsRoundTrippable(name);
  };
  const auto drifting = static_cast<int>(std::count_if(std::begin(rows), std::end(rows), drifts));
  if (drifting == 0) {
    std::fputs("\n=== capture-drift scan: clean (every called GL entry is round-trippable) ===\n", file);
    return;
  }
  std::fprintf(file, "\n=== capture-drift scan: %d GL entries called but not in Cmd enum ===\n", drifting);
  std::fputs("(replay of a .tlr2-capture taken during this run will diverge on these calls)\n\n", file);
  for (const CountRow& row : rows) {
    if (drifts(row)) {
      std::fprintf(file, "    [capture-drift] %-28s : %14llu\n", NameOf(row.index),
                   static_cast<unsigned long long>(row.count));
    }
  }
}

}  // namespace

bool IsRoundTrippable(const char* name) noexcept {
  return std::any_of(std::begin(kRoundTrippable), std::end(kRoundTrippable),
                     [name](const char* known) { return std::strcmp(known, name) == 0; });
}

void WriteCallSummary() noexcept {
  std::FILE* file = std::fopen("TLR2_api_calls.log", "wb");
  if (file == nullptr) return;
  std::fputs("=== TLR2 GL/WGL call summary (process lifetime) ===\n", file);
  if (isaStatusLine[0] != '\0') std::fprintf(file, "%s\n", isaStatusLine);
  std::fprintf(file, "%s\n%s\n\n", threadsStatusLine, framebufferStatusLine);
  // On the stack: the crash observer comes here too, and an allocator may be what crashed.
  CountRow rows[kEntryCount];
  std::uint64_t total = 0;
  int called = 0;
  for (int i = 0; i < kEntryCount; ++i) {
    rows[i] = {CallCounters[i].load(std::memory_order_relaxed), i};
    total += rows[i].count;
    called += rows[i].count != 0 ? 1 : 0;
  }
  std::sort(std::begin(rows), std::end(rows), [](const CountRow& a, const CountRow& b) {
    return a.count != b.count ? a.count > b.count : a.index < b.index;
  });
  std::fprintf(file, "Total API calls: %llu  (across %d/%d functions)\n\n", static_cast<unsigned long long>(total),
               called, kEntryCount);
  for (const CountRow& row : rows) {
    std::fprintf(file,
                 row.count != 0 ? "    %-32s : %14llu\n" : "    %-32s : %14llu    [unimplemented, never called]\n",
                 NameOf(row.index), static_cast<unsigned long long>(row.count));
  }
  WriteDriftScan(file, rows);
  TileDiscoveryReport(file);
  OccupancyReport(file);
  std::fflush(file);  // what follows allocates: should that hang in a crash, all of this stands
  ProfileReport(file);
  std::fclose(file);
}

}  // namespace tlr2
