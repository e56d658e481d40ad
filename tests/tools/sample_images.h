// Hand-built images shared by the reader and formatter tests.
#pragma once

#include <cstdint>
#include <vector>

#include "tools/image_builder.h"

namespace Parsers::ImageTesting {

// Seven nodes, four attributes, thirteen strings, 684 bytes:
//
//   node 0  comment " hi "                                   (top-level)
//   node 1  <svg:rect xmlns:svg=".../svg" width="10" hidden> (top-level)
//           namespace URI ".../svg", one declaration svg -> ".../svg"
//   node 2    text "café 😀"
//   node 3    element with an empty name and the tag id of p
//   node 4      text "x"
//   node 5    <g xmlns="">, one declaration (no prefix) -> ""
//   node 6  text ""                                          (top-level)
//
// Strings: 0 " hi ", 1 "rect", 2 "svg", 3 "http://www.w3.org/2000/svg",
// 4 "café 😀", 5 "", 6 "x", 7 "g", 8 "xmlns",
// 9 "http://www.w3.org/2000/xmlns/", 10 "width", 11 "10", 12 "hidden".
// Offsets of the nodes: 26, 56, 150, 180, 242, 272, 346; attribute table at
// 376, string table at 472.
std::vector<std::uint8_t> buildSampleImage(ImageBuilder& builder);
std::vector<std::uint8_t> buildSampleImage();

// The tag id of "p" in the library's tag table.
std::uint32_t paragraphTagId();

}  // namespace Parsers::ImageTesting
