// Pieces of self-contained pages: everything that a page shows is inside it.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "tlr2_replay/picture.h"

namespace tlr2::tool {

std::string Escaped(const std::string& text);
/// A picture as the value of `src`.
std::string PictureData(const PictureView& picture);
/// An <img>; `classes` are its style classes.
std::string Image(const PictureView& picture, const std::string& alt, const std::string& classes = "");
/// A two-column table of facts.
std::string Facts(const std::vector<std::pair<std::string, std::string>>& facts);
/// Bars of how many pixels differ by how much, on a logarithmic scale; nothing for equal pictures.
std::string HistogramChart(const Comparison& comparison);
/// Stacked bars, one a frame, which is a row of `values`; `names` are of the columns.
std::string StackedChart(const std::vector<std::string>& names, const std::vector<std::uint32_t>& frames,
                         const std::vector<std::vector<double>>& values, const std::string& unit);
/// The whole page around `body`; `script` may be empty.
std::string Page(const std::string& title, const std::string& body, const std::string& script = "");

}  // namespace tlr2::tool
