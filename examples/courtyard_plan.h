// The courtyard's ground plan, in metres: what the geometry and the light maps agree on.
#pragma once

namespace courtyard {

struct Point {
  double x, z;
};

inline constexpr double kCourtHalf = 16;  // the court is a square around the origin, open toward +z
inline constexpr double kWallHeight = 6;
inline constexpr double kPoolHalf = 4.5;

inline constexpr Point kColumns[] = {{-9, -9}, {-9, -3}, {-9, 3}, {-9, 9},  {9, -9},
                                     {9, -3},  {9, 3},   {9, 9},  {-3, -9}, {3, -9}};
inline constexpr Point kLamps[] = {{-6.5, -6.5}, {6.5, -6.5}, {-6.5, 6.5}, {6.5, 6.5}};
inline constexpr Point kTrees[] = {{-13, 24}, {-5, 30},   {6, 27},     {14, 23},  {-22, 34}, {24, 36},
                                   {1, 44},   {-12, -13}, {12.5, -13}, {-34, 30}, {36, 26}};

}  // namespace courtyard
