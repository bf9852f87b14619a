// One library in a process of its own, which compare.py asks for frames, a few at a time.
//
// usage: frame_host tlr2|osmesa LIBRARY [PICTURE.ppm]     frame_host --list
// Lines that it reads, and its answers:
//   open SCENE WIDTH HEIGHT    "ok"
//   turn FRAME COUNT PAUSE [SWEEP]
//                              "times" and for each of COUNT frames its milliseconds: wall, processor, chain, present.
//                              Frame number FRAME of the scene is drawn COUNT times, after one that nobody times: it
//                              finds the caches as the other library left them. PAUSE milliseconds lie behind each, and
//                              a walk over SWEEP MiB, which leaves no frame's memory in the caches.
//   close                      "ok"; writes the picture when one was asked for
// Anything else, or what fails: "error TEXT".
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "library.h"
#include "scene.h"

namespace {

using bench::Stage;

struct OpenScene {
  const bench::SceneRow& scene;
  Stage stage;
};

void WritePicture(const std::string& path, int width, const std::vector<std::uint32_t>& words) {
  std::FILE* file = words.empty() ? nullptr : std::fopen(path.c_str(), "wb");
  if (file == nullptr) return;
  std::fprintf(file, "P6 %d %d 255\n", width, static_cast<int>(words.size()) / width);
  for (const std::uint32_t word : words) {
    const unsigned char rgb[3] = {static_cast<unsigned char>(word >> 16), static_cast<unsigned char>(word >> 8),
                                  static_cast<unsigned char>(word)};
    std::fwrite(rgb, 1, 3, file);
  }
  std::fclose(file);
}

std::string Open(std::istringstream& words, std::unique_ptr<OpenScene>& open) {
  std::string name;
  int width = 0, height = 0;
  words >> name >> width >> height;
  const auto& scenes = bench::Scenes();
  const auto scene = std::find_if(scenes.begin(), scenes.end(), [&](const auto& row) { return name == row.name; });
  if (!words || open != nullptr || scene == scenes.end() || width < 16 || height < 16) return "error bad request";
  if (!bench::OpenTarget(width, height)) return "error no context";
  open.reset(new OpenScene{*scene, {bench::LibraryFunctions(), width, height, {}, {}, {}}});
  open->stage.gl.TexEnvi(0x2300, 0x2200, 0x2100);  // modulate
  scene->setUp(open->stage);
  return "ok";
}

void SweepCaches(int mebibytes) {
  static std::vector<unsigned char> memory;
  memory.resize(static_cast<std::size_t>(mebibytes) << 20);
  for (std::size_t i = 0; i < memory.size(); i += 64) ++memory[i];
}

std::string Turn(std::istringstream& words, OpenScene* open) {
  int frame = 0, count = 0, pause = 0, sweep = 0;
  words >> frame >> count >> pause;
  if (!words || open == nullptr || count < 1) return "error bad request";
  words >> std::ws;
  if (!words.eof() && (!(words >> sweep) || sweep < 0 || sweep > 1024)) return "error bad request";
  std::ostringstream answer;
  answer << "times";
  for (int i = -1; i < count; ++i) {
    bench::FrameTimes times = {};
    bench::StartWork();
    const double begin = bench::Milliseconds();
    open->scene.draw(open->stage, frame);
    bench::EndFrame();
    times.wall = bench::Milliseconds() - begin;
    bench::WorkSinceStart(times);
    times.present = bench::PresentMilliseconds();
    if (i >= 0) answer << ' ' << times.wall << ' ' << times.processor << ' ' << times.chain << ' ' << times.present;
    if (pause > 0) std::this_thread::sleep_for(std::chrono::milliseconds(pause));
    if (sweep > 0) SweepCaches(sweep);
  }
  return answer.str();
}

std::string Close(std::unique_ptr<OpenScene>& open, const std::string& picture) {
  if (open == nullptr) return "error bad request";
  if (!picture.empty()) WritePicture(picture, open->stage.width, bench::TargetPicture());
  Stage& stage = open->stage;
  stage.gl.DeleteTextures(static_cast<std::int32_t>(stage.textures.size()), stage.textures.data());
  bench::CloseTarget();
  open.reset();
  return "ok";
}

}  // namespace

int main(int count, char** values) {
  if (count == 2 && std::strcmp(values[1], "--list") == 0) {
    for (const bench::SceneRow& scene : bench::Scenes()) std::printf("%s\t%s\n", scene.name, scene.title);
    return 0;
  }
  if (count < 3 || !bench::OpenLibrary(values[1], values[2])) {
    std::fprintf(stderr, "usage: frame_host tlr2|osmesa LIBRARY [PICTURE.ppm]\n       frame_host --list\n");
    return 2;
  }
  const std::string picture = count > 3 ? values[3] : "";
  std::unique_ptr<OpenScene> open;
  for (std::string line; std::getline(std::cin, line);) {
    std::istringstream words(line);
    std::string verb;
    words >> verb;
    const std::string answer = verb == "open"    ? Open(words, open)
                               : verb == "turn"  ? Turn(words, open.get())
                               : verb == "close" ? Close(open, picture)
                                                 : "error bad request";
    std::printf("%s\n", answer.c_str());
    std::fflush(stdout);
  }
  return 0;
}
