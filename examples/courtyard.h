// The courtyard: the example scene, drawn with immediate-mode calls into whatever context is current.
#pragma once

namespace courtyard {

struct Scene;

/// Makes the scene and uploads its textures. A context is current.
Scene* CreateScene();
/// Draws the scene at `seconds` into a viewport of `width` by `height`, HUD included; `framesPerSecond` is shown there.
void DrawScene(const Scene& scene, int width, int height, double seconds, double framesPerSecond);
void DestroyScene(Scene* scene);

}  // namespace courtyard
