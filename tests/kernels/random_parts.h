// The parts that a random call is made of: vertex positions, what varies over a triangle, and textures.
#pragma once

#include <bit>

#include "random_source.h"
#include "random_tile.h"

namespace tlr2::judge {

/// The only NaN that the random data holds: the one that the processor's own invalid operations give, so that a result
/// does not depend on which of two operands was a NaN.
inline constexpr float kProcessorNan = std::bit_cast<float>(0xFFC00000u);

/// Screen positions by one of many plans, around the tile whose corner is (x0, y0).
void PlaceVertices(RandomSource& random, std::int32_t x0, std::int32_t y0, TriangleRecord& tri);

/// Around the tile, by up to 2^22 pixels; and somewhere in it, by a few.
void PlaceAround(RandomSource& random, const RandomTile& tile, TriangleRecord& tri);
void PlaceInside(RandomSource& random, const RandomTile& tile, TriangleRecord& tri);

/// Colours, texture coordinates and 1/w; `texels` is the width of the triangle's texture.
void SetVaryings(RandomSource& random, std::int32_t texels, TriangleRecord& tri);

/// A few textures, some of them absent. Every address that wrapping can give lies inside `texels`.
void MakeTextures(RandomSource& random, RandomTile& tile);

}  // namespace tlr2::judge
