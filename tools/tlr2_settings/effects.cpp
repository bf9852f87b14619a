// The lines that the list prints, and that docs/settings.md carries too.
#include "tlr2_settings/effects.h"

#include <cstring>

namespace tlr2 {

namespace {

struct Effect {
  const char* name;
  const char* text;
};

constexpr Effect kEffects[] = {
    {"ForceFilter", "0 as the texture says, 1 nearest, 2 bilinear, 3 trilinear"},
    {"ForceWrap", "0 as the texture says, 1 repeat, 2 clamp to edge"},
    {"DisableBlend", "1 draws everything unblended"},
    {"DisableFaceCull", "1 culls no triangle"},
    {"DisableHiZ", "1 skips no tile by its depth bounds; the picture stays the same"},
    {"DisableAlphaTest", "1 lets every alpha pass"},
    {"DisableDepthTest", "1 neither tests nor writes depth"},
    {"ForceDepthFunc",
     "0 as the program says, 1 always, 2 less, 3 lequal, 4 equal, 5 gequal, 6 greater, 7 notequal, "
     "8 never"},
    {"ForceIsa", "0 the best there is, 1 SSE4.1, 2 AVX, 3 AVX2, 4 AVX-512; set anew at each start, from TLR2_ISA"},
    {"WorkerLimit", "most tasks of a frame, 0 for the full pool"},
    {"PipelineCutoff",
     "stage after which a frame stops, 5 for none; set anew at each start, from TLR2_PIPELINE_CUTOFF"},
    {"CaptureFrameCount", "frames that Ctrl+Shift+F7 captures"},
    {"ShowFpsOverlay", "1 shows size, frame rate and processor load over the picture"},
    {"GammaX100", "exponent of the shown colours, in hundredths"},
    {"SaturationX100", "saturation of the shown colours, in hundredths"},
    {"BrightnessX100", "factor on the shown colours, in hundredths"},
    {"VideoRangeX100", "how far the shown colours go to the range 16 to 235, in percent"},
    {"HueDeg", "rotation of the shown hues, in degrees"},
};

}  // namespace

const char* EffectOfSetting(const char* name) noexcept {
  for (const Effect& effect : kEffects)
    if (std::strcmp(effect.name, name) == 0) return effect.text;
  return nullptr;
}

}  // namespace tlr2
