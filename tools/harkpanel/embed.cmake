# Writes the files of the page as arrays of bytes: cmake -DOUT=page_data.cpp "-DFILES=a;b" -P embed.cmake
set(arrays "")
set(rows "")
set(count 0)
foreach(file IN LISTS FILES)
  get_filename_component(name ${file} NAME)
  file(READ ${file} hex HEX)
  string(LENGTH "${hex}" digits)
  math(EXPR size "${digits} / 2")
  string(REGEX REPLACE "(................................)" "\\1\n" hex "${hex}")
  string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," hex "${hex}")
  # The 0 at the end is not of the file: an array has at least one element.
  string(APPEND arrays "const unsigned char kFile${count}[] = {\n${hex}0};\n")
  string(APPEND rows "    {\"${name}\", kFile${count}, ${size}},\n")
  math(EXPR count "${count} + 1")
endforeach()
file(WRITE ${OUT} "// Made by embed.cmake from the files of the page.
#include \"tools/harkpanel/page_data.h\"

namespace hark::panel_gateway {
namespace {
${arrays}}  // namespace

const EmbeddedFile kEmbeddedFiles[] = {
${rows}};
const std::size_t kEmbeddedCount = ${count};

}  // namespace hark::panel_gateway
")
