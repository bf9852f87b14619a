// The courtyard scene: a paved court to the horizon with light maps, columns, a pool, a fence, trees, lamps and a HUD.
#include "courtyard.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "courtyard_plan.h"
#include "courtyard_textures.h"
#include "system_gl.h"

namespace courtyard {
namespace {

constexpr double kPi = 3.14159265358979;

enum Picture { kPaving, kBrick, kPlaster, kFoliage, kFence, kWater, kGlow, kFont, kGroundLight, kWallLight, kPictures };

struct Camera {
  double x, y, z, heading, pitch;  // heading in radians from -z toward +x
};

GLuint Upload(const Image& image, GLint minify, GLint magnify, GLint wrap) {
  GLuint name = 0;
  glGenTextures(1, &name);
  glBindTexture(GL_TEXTURE_2D, name);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, minify);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, magnify);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, wrap);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, wrap);
  // The levels below are for libraries that do not make them by themselves.
  Image level = image;
  for (int depth = 0;; ++depth) {
    glTexImage2D(GL_TEXTURE_2D, depth, GL_RGBA, level.width, level.height, 0, GL_RGBA, GL_UNSIGNED_BYTE,
                 level.rgba.data());
    if (level.width == 1 && level.height == 1) return name;
    Image half{std::max(1, level.width / 2), std::max(1, level.height / 2), {}};
    half.rgba.resize(static_cast<std::size_t>(half.width) * half.height * 4);
    for (int y = 0; y < half.height; ++y) {
      for (int x = 0; x < half.width; ++x) {
        for (int c = 0; c < 4; ++c) {
          const int x1 = std::min(2 * x + 1, level.width - 1);
          const int y1 = std::min(2 * y + 1, level.height - 1);
          const auto at = [&](int i, int j) {
            return level.rgba[(static_cast<std::size_t>(j) * level.width + i) * 4 + c];
          };
          half.rgba[(static_cast<std::size_t>(y) * half.width + x) * 4 + c] =
              static_cast<std::uint8_t>((at(2 * x, 2 * y) + at(x1, 2 * y) + at(2 * x, y1) + at(x1, y1) + 2) >> 2);
        }
      }
    }
    level = std::move(half);
  }
}

void Point3(double x, double y, double z) {
  glVertex3f(static_cast<float>(x), static_cast<float>(y), static_cast<float>(z));
}
void Corner(double s, double t, double x, double y, double z) {
  glTexCoord2f(static_cast<float>(s), static_cast<float>(t));
  Point3(x, y, z);
}

Camera CameraAt(double seconds) {
  const double turn = seconds * 0.22;
  const double radius = 10.5 + 2.5 * std::sin(seconds * 0.31);
  Camera camera = {};
  camera.x = std::sin(turn) * 6.5;
  camera.z = 4.0 + radius * 0.55 * std::cos(turn * 0.7);
  camera.y = 2.3 + 0.5 * std::sin(seconds * 0.5);
  camera.heading = 0.45 * std::sin(seconds * 0.27) - camera.x * 0.05 + (seconds > 14 ? (seconds - 14) * 0.18 : 0);
  camera.pitch = -0.10 + 0.05 * std::sin(seconds * 0.4);
  return camera;
}

void SetCamera(const Camera& camera, int width, int height) {
  const double aspect = static_cast<double>(width) / height;
  constexpr double kNear = 0.25;
  const double half = kNear * 0.62;
  glMatrixMode(GL_PROJECTION);
  glLoadIdentity();
  glFrustum(-half * aspect, half * aspect, -half, half, kNear, 400);
  glMatrixMode(GL_MODELVIEW);
  glLoadIdentity();
  glRotatef(static_cast<float>(-camera.pitch * 180 / kPi), 1, 0, 0);
  glRotatef(static_cast<float>(camera.heading * 180 / kPi), 0, 1, 0);
  glTranslatef(static_cast<float>(-camera.x), static_cast<float>(-camera.y), static_cast<float>(-camera.z));
}

void DrawSky(const Camera& camera) {
  glDisable(GL_TEXTURE_2D);
  glDepthMask(GL_FALSE);
  // A bowl around the eye; its lower rim is the haze that the ground fades into.
  constexpr double kBands[][4] = {{-0.05, 0.80, 0.72, 0.62},
                                  {0.06, 0.86, 0.74, 0.60},
                                  {0.25, 0.56, 0.64, 0.74},
                                  {0.70, 0.26, 0.40, 0.62},
                                  {1.40, 0.12, 0.22, 0.44}};
  constexpr double kRadius = 150;
  for (int band = 0; band < 4; ++band) {
    glBegin(GL_QUAD_STRIP);
    for (int i = 0; i <= 24; ++i) {
      const double angle = i * 2 * kPi / 24;
      for (int rim = 1; rim >= 0; --rim) {
        const double* row = kBands[band + rim];
        const double sun = std::max(0.0, std::cos(angle - 0.6)) * (rim + band < 2 ? 0.12 : 0.05);
        glColor3f(static_cast<float>(row[1] + sun), static_cast<float>(row[2] + sun * 0.7), static_cast<float>(row[3]));
        Point3(camera.x + std::sin(angle) * std::cos(row[0]) * kRadius, camera.y + std::sin(row[0]) * kRadius,
               camera.z - std::cos(angle) * std::cos(row[0]) * kRadius);
      }
    }
    glEnd();
  }
  glDepthMask(GL_TRUE);
  glColor3f(1, 1, 1);
  glEnable(GL_TEXTURE_2D);
}

// The ground in cells, so that near and far ground have their own depth extremes; `lit` draws the court's light map.
// Out toward the horizon the texture is spread wider, so that its smallest level still has something to say there.
void DrawGround(bool lit) {
  const double half = lit ? kCourtHalf : 160;
  const double cell = 8;
  for (double z = -half; z < half; z += cell) {
    glBegin(GL_TRIANGLE_STRIP);
    for (double x = -half; x <= half; x += cell) {
      for (int row = 0; row < 2; ++row) {
        const double wz = z + row * cell;
        if (lit) {
          Corner((x + kCourtHalf) / (2 * kCourtHalf), (wz + kCourtHalf) / (2 * kCourtHalf), x, 0, wz);
        } else {
          const bool paved = z >= -kCourtHalf && z < kCourtHalf;
          const double spread = paved ? 4 : 32;
          Corner(x / spread, wz / spread, x, 0, wz);
        }
      }
    }
    glEnd();
  }
}

// The three walls: back, left, right. Each as quads 4 m wide; s runs along the wall.
void DrawWalls(bool lit) {
  constexpr double kStep = 4;
  for (int side = 0; side < 3; ++side) {
    glBegin(GL_QUADS);
    for (double along = 0; along < 2 * kCourtHalf; along += kStep) {
      for (int corner = 0; corner < 4; ++corner) {
        const double a = along + (corner == 1 || corner == 2 ? kStep : 0);
        const double up = corner >= 2 ? kWallHeight : 0;
        const double s = lit ? a / (2 * kCourtHalf) : a / 4;
        const double t = lit ? up / kWallHeight : up / 4;
        if (side == 0) Corner(s, t, a - kCourtHalf, up, -kCourtHalf);
        if (side == 1) Corner(s, t, -kCourtHalf, up, kCourtHalf - a);
        if (side == 2) Corner(s, t, kCourtHalf, up, a - kCourtHalf);
      }
    }
    glEnd();
  }
}

void DrawWallCrowns() {
  glBegin(GL_QUADS);
  for (int side = 0; side < 3; ++side) {
    for (int corner = 0; corner < 4; ++corner) {
      const double a = corner == 1 || corner == 2 ? 2 * kCourtHalf : 0;
      const double out = corner >= 2 ? 0.6 : -0.25;
      if (side == 0) Corner(a / 3, out, a - kCourtHalf, kWallHeight, -kCourtHalf - out);
      if (side == 1) Corner(a / 3, out, -kCourtHalf - out, kWallHeight, kCourtHalf - a);
      if (side == 2) Corner(a / 3, out, kCourtHalf + out, kWallHeight, a - kCourtHalf);
    }
  }
  glEnd();
}

void DrawColumn(const Point& at) {
  constexpr int kSides = 12;
  constexpr double kRings[][2] = {{0, 0.85}, {0.35, 0.85}, {0.5, 0.55}, {3.6, 0.46}, {3.8, 0.7}, {4.2, 0.8}};
  for (int ring = 0; ring < 5; ++ring) {
    glBegin(GL_TRIANGLE_STRIP);
    for (int i = 0; i <= kSides; ++i) {
      const double angle = i * 2 * kPi / kSides;
      const double shade = 0.62 + 0.38 * std::max(0.0, std::cos(angle - 2.2));
      glColor3f(static_cast<float>(shade), static_cast<float>(shade * 0.97), static_cast<float>(shade * 0.92));
      for (int rim = 0; rim < 2; ++rim) {
        Corner(i * 3.0 / kSides, kRings[ring + rim][0] / 2, at.x + std::sin(angle) * kRings[ring + rim][1],
               kRings[ring + rim][0], at.z - std::cos(angle) * kRings[ring + rim][1]);
      }
    }
    glEnd();
  }
  glBegin(GL_POLYGON);
  for (int i = 0; i < kSides; ++i) {
    const double angle = -i * 2 * kPi / kSides;
    Corner(std::sin(angle), std::cos(angle), at.x + std::sin(angle) * 0.8, 4.2, at.z - std::cos(angle) * 0.8);
  }
  glEnd();
  glColor3f(1, 1, 1);
}

void DrawPool(double seconds) {
  const double drift = seconds * 0.05;
  glColor4f(0.8f, 0.95f, 1.0f, 0.55f);
  glBegin(GL_QUADS);
  for (int x = -3; x < 3; ++x) {
    for (int z = -3; z < 3; ++z) {
      for (int corner = 0; corner < 4; ++corner) {
        const double px = (x + (corner == 1 || corner == 2)) * kPoolHalf / 3;
        const double pz = (z + (corner >= 2)) * kPoolHalf / 3;
        const double swell = 0.05 * std::sin(seconds * 1.7 + px * 1.3) * std::cos(seconds * 1.1 + pz);
        Corner(px / 3 + drift, pz / 3 + drift * 0.6, px, 0.22 + swell, pz);
      }
    }
  }
  glEnd();
  glColor3f(1, 1, 1);
}

void DrawPoolRim() {
  constexpr double kOuter = kPoolHalf + 0.5;
  constexpr double kHigh = 0.5;
  glBegin(GL_QUADS);
  for (int side = 0; side < 4; ++side) {
    const double c = side == 0 ? 1 : side == 2 ? -1 : 0;
    const double s = side == 1 ? 1 : side == 3 ? -1 : 0;
    const auto place = [&](double u, double v, double along, double up, double out) {
      Corner(u, v, along * c - out * s, up, along * s + out * c);
    };
    glColor3f(0.95f, 0.92f, 0.86f);
    place(0, 0, -kOuter, kHigh, kOuter), place(4, 0, kOuter, kHigh, kOuter);
    place(4, 0.3, kPoolHalf, kHigh, kPoolHalf), place(0, 0.3, -kPoolHalf, kHigh, kPoolHalf);
    glColor3f(0.7f, 0.67f, 0.62f);
    place(0, 0, -kOuter, 0, kOuter), place(4, 0, kOuter, 0, kOuter);
    place(4, 0.3, kOuter, kHigh, kOuter), place(0, 0.3, -kOuter, kHigh, kOuter);
    place(0, 0, kPoolHalf, 0, kPoolHalf), place(4, 0, -kPoolHalf, 0, kPoolHalf);
    place(4, 0.3, -kPoolHalf, kHigh, kPoolHalf), place(0, 0.3, kPoolHalf, kHigh, kPoolHalf);
  }
  glEnd();
  glColor3f(1, 1, 1);
}

// A quad that turns about its upright axis toward the eye.
void DrawUpright(const Camera& camera, const Point& at, double bottom, double half, double height) {
  const double dx = camera.x - at.x;
  const double dz = camera.z - at.z;
  const double length = std::max(0.001, std::sqrt(dx * dx + dz * dz));
  const double rx = dz / length * half;
  const double rz = -dx / length * half;
  glBegin(GL_QUADS);
  Corner(0, 0, at.x - rx, bottom, at.z - rz);
  Corner(1, 0, at.x + rx, bottom, at.z + rz);
  Corner(1, 1, at.x + rx, bottom + height, at.z + rz);
  Corner(0, 1, at.x - rx, bottom + height, at.z - rz);
  glEnd();
}

void DrawFence() {
  glBegin(GL_QUADS);
  for (double x = -kCourtHalf; x < kCourtHalf; x += 4) {
    if (x == -4 || x == 0) continue;  // the gate
    Corner(0, 0, x, 0, kCourtHalf + 0.2);
    Corner(2, 0, x + 4, 0, kCourtHalf + 0.2);
    Corner(2, 0.99, x + 4, 2.2, kCourtHalf + 0.2);
    Corner(0, 0.99, x, 2.2, kCourtHalf + 0.2);
  }
  glEnd();
}

void Text(const char* text, double x, double y, double size) {
  glBegin(GL_QUADS);
  for (; *text != '\0'; ++text, x += size * 0.75) {
    const int cell = *text - kFontFirst;
    if (cell <= 0 || cell >= kFontColumns * 6) continue;
    const double s = cell % kFontColumns / 16.0;
    const double t = cell / kFontColumns / 8.0;
    Corner(s, t, x, y, 0);
    Corner(s + 1 / 16.0, t, x + size, y, 0);
    Corner(s + 1 / 16.0, t + 1 / 8.0, x + size, y + size, 0);
    Corner(s, t + 1 / 8.0, x, y + size, 0);
  }
  glEnd();
}

void DrawHud(const GLuint* pictures, int width, int height, const Camera& camera, double framesPerSecond) {
  glMatrixMode(GL_PROJECTION);
  glLoadIdentity();
  glOrtho(0, width, height, 0, -1, 1);
  glMatrixMode(GL_MODELVIEW);
  glLoadIdentity();
  glDisable(GL_DEPTH_TEST);
  glEnable(GL_BLEND);
  glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
  glDisable(GL_TEXTURE_2D);
  const double unit = std::max(1.0, height / 360.0);
  // Map panel: the court from above with the eye's place and view.
  const double size = 74 * unit;
  const double left = width - size - 10 * unit;
  const double top = 10 * unit;
  glColor4f(0.05f, 0.07f, 0.12f, 0.6f);
  glBegin(GL_QUADS);
  Point3(left, top, 0), Point3(left + size, top, 0), Point3(left + size, top + size, 0), Point3(left, top + size, 0);
  const double scale = size / (2.6 * kCourtHalf);
  const double midX = left + size / 2;
  const double midY = top + size / 2;
  const auto square = [&](double x, double z, double half) {
    Point3(midX + (x - half) * scale, midY + (z - half) * scale, 0);
    Point3(midX + (x + half) * scale, midY + (z - half) * scale, 0);
    Point3(midX + (x + half) * scale, midY + (z + half) * scale, 0);
    Point3(midX + (x - half) * scale, midY + (z + half) * scale, 0);
  };
  glColor4f(0.8f, 0.75f, 0.65f, 0.35f);
  square(0, 0, kCourtHalf);
  glColor4f(0.4f, 0.7f, 0.9f, 0.8f);
  square(0, 0, kPoolHalf);
  glColor4f(0.95f, 0.9f, 0.8f, 0.9f);
  for (const Point& column : kColumns) square(column.x, column.z, 0.8);
  glEnd();
  glColor4f(1, 0.85f, 0.3f, 0.55f);
  glBegin(GL_TRIANGLES);
  Point3(midX + camera.x * scale, midY + camera.z * scale, 0);
  for (int side = -1; side <= 1; side += 2) {
    const double angle = camera.heading + side * 0.5;
    Point3(midX + (camera.x + std::sin(angle) * 9) * scale, midY + (camera.z - std::cos(angle) * 9) * scale, 0);
  }
  glEnd();
  // Plate and text.
  glColor4f(0.05f, 0.07f, 0.12f, 0.6f);
  glBegin(GL_QUADS);
  Point3(8 * unit, 8 * unit, 0), Point3(122 * unit, 8 * unit, 0), Point3(122 * unit, 34 * unit, 0),
      Point3(8 * unit, 34 * unit, 0);
  glEnd();
  glEnable(GL_TEXTURE_2D);
  glBindTexture(GL_TEXTURE_2D, pictures[kFont]);
  char line[32];
  std::snprintf(line, sizeof line, "%d X %d", width, height);
  glColor4f(1, 1, 1, 1);
  Text(line, 13 * unit, 11 * unit, 10 * unit);
  std::snprintf(line, sizeof line, framesPerSecond > 0 ? "%.1f FPS" : "FPS -", framesPerSecond);
  glColor4f(1, 0.8f, 0.35f, 1);
  Text(line, 13 * unit, 22 * unit, 10 * unit);
  glColor4f(1, 1, 1, 1);
  glDisable(GL_BLEND);
  glEnable(GL_DEPTH_TEST);
}

}  // namespace

struct Scene {
  GLuint pictures[kPictures];
};

Scene* CreateScene() {
  auto* scene = new Scene;
  GLuint* to = scene->pictures;
  to[kPaving] = Upload(MakePaving(), GL_LINEAR_MIPMAP_LINEAR, GL_LINEAR, GL_REPEAT);
  to[kBrick] = Upload(MakeBrick(), GL_LINEAR_MIPMAP_LINEAR, GL_LINEAR, GL_REPEAT);
  to[kPlaster] = Upload(MakePlaster(), GL_LINEAR_MIPMAP_LINEAR, GL_LINEAR, GL_REPEAT);
  to[kFoliage] = Upload(MakeFoliage(), GL_LINEAR, GL_LINEAR, GL_CLAMP_TO_EDGE);
  to[kFence] = Upload(MakeFence(), GL_LINEAR_MIPMAP_LINEAR, GL_LINEAR, GL_REPEAT);
  to[kWater] = Upload(MakeWater(), GL_LINEAR_MIPMAP_LINEAR, GL_LINEAR, GL_REPEAT);
  to[kGlow] = Upload(MakeGlow(), GL_LINEAR, GL_LINEAR, GL_CLAMP_TO_EDGE);
  to[kFont] = Upload(MakeFont(), GL_NEAREST, GL_NEAREST, GL_CLAMP_TO_EDGE);
  to[kGroundLight] = Upload(MakeGroundLight(), GL_LINEAR, GL_LINEAR, GL_CLAMP_TO_EDGE);
  to[kWallLight] = Upload(MakeWallLight(), GL_LINEAR, GL_LINEAR, GL_CLAMP_TO_EDGE);
  glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_MODULATE);
  glClearColor(0.8f, 0.72f, 0.62f, 1);
  glClearDepth(1);
  glEnable(GL_TEXTURE_2D);
  glEnable(GL_DEPTH_TEST);
  glDepthFunc(GL_LEQUAL);
  return scene;
}

void DrawScene(const Scene& scene, int width, int height, double seconds, double framesPerSecond) {
  const GLuint* pictures = scene.pictures;
  const Camera camera = CameraAt(seconds);
  glViewport(0, 0, width, height);
  glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
  SetCamera(camera, width, height);
  DrawSky(camera);

  glBindTexture(GL_TEXTURE_2D, pictures[kPaving]);
  DrawGround(false);
  glBindTexture(GL_TEXTURE_2D, pictures[kBrick]);
  DrawWalls(false);
  // Light maps: the same triangles again, multiplied on.
  glEnable(GL_BLEND);
  glBlendFunc(GL_ZERO, GL_SRC_COLOR);
  glDepthMask(GL_FALSE);
  glBindTexture(GL_TEXTURE_2D, pictures[kGroundLight]);
  DrawGround(true);
  glBindTexture(GL_TEXTURE_2D, pictures[kWallLight]);
  DrawWalls(true);
  glDepthMask(GL_TRUE);
  glDisable(GL_BLEND);

  glBindTexture(GL_TEXTURE_2D, pictures[kPlaster]);
  DrawWallCrowns();
  glEnable(GL_CULL_FACE);
  glCullFace(GL_BACK);
  for (const Point& column : kColumns) DrawColumn(column);
  glDisable(GL_CULL_FACE);
  DrawPoolRim();

  glEnable(GL_ALPHA_TEST);
  glAlphaFunc(GL_GREATER, 0.666f);
  glBindTexture(GL_TEXTURE_2D, pictures[kFence]);
  DrawFence();
  glBindTexture(GL_TEXTURE_2D, pictures[kFoliage]);
  for (const Point& tree : kTrees) DrawUpright(camera, tree, -0.1, 4.2, 8.6);
  glDisable(GL_ALPHA_TEST);

  glEnable(GL_BLEND);
  glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
  glBindTexture(GL_TEXTURE_2D, pictures[kWater]);
  DrawPool(seconds);
  glBlendFunc(GL_ONE, GL_ONE);
  glDepthMask(GL_FALSE);
  glBindTexture(GL_TEXTURE_2D, pictures[kGlow]);
  for (const Point& lamp : kLamps) {
    const double flicker = 1 + 0.08 * std::sin(seconds * 9 + lamp.x) + 0.05 * std::sin(seconds * 23 + lamp.z);
    DrawUpright(camera, lamp, 2.4 - 0.9 * flicker, 0.9 * flicker, 1.8 * flicker);
  }
  glDepthMask(GL_TRUE);
  glDisable(GL_BLEND);

  DrawHud(pictures, width, height, camera, framesPerSecond);
}

void DestroyScene(Scene* scene) {
  if (scene == nullptr) return;
  glDeleteTextures(kPictures, scene->pictures);
  delete scene;
}

}  // namespace courtyard
