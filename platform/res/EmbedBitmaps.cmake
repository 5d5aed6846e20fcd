# Turns the bitmap files of this folder into the library's table of built-in bitmap
# resources. Each file is named <hex id>_<name>.bmp; the table maps the id to its bytes.
# Run as: cmake -DOUT=<generated .cpp> -DINPUTS=<file;file...> -P EmbedBitmaps.cmake
set(_arrays "")
set(_rows "")
set(_n 0)
list(SORT INPUTS)
foreach(_f IN LISTS INPUTS)
  get_filename_component(_name ${_f} NAME)
  if(NOT _name MATCHES "^([0-9A-Fa-f]+)_[A-Za-z0-9_]+\\.bmp$")
    message(FATAL_ERROR "bitmap resource ${_name}: expected <hex id>_<name>.bmp")
  endif()
  set(_id ${CMAKE_MATCH_1})
  file(READ ${_f} _hex HEX)
  file(SIZE ${_f} _size)
  string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," _bytes "${_hex}")
  # Sixteen bytes a line keeps the generated file readable.
  string(REGEX REPLACE "((0x..,){16})" "\\1\n    " _bytes "${_bytes}")
  string(APPEND _arrays "// ${_name}\nconst BYTE kBitmap${_n}[] = {\n    ${_bytes}\n};\n")
  string(APPEND _rows "    {0x${_id}, kBitmap${_n}, ${_size}},\n")
  math(EXPR _n "${_n} + 1")
endforeach()
if(_n EQUAL 0)
  message(FATAL_ERROR "no bitmap resources given")
endif()
file(CONFIGURE OUTPUT ${OUT}.tmp CONTENT "// Generated from platform/res/*.bmp by EmbedBitmaps.cmake: do not edit.
#include \"GdiDib.h\"

namespace zev::gdi {

namespace {
@_arrays@}  // namespace

const EmbeddedBitmap kEmbeddedBitmaps[] = {
@_rows@};
const std::size_t kEmbeddedBitmapCount = ${_n};

}  // namespace zev::gdi
" @ONLY)
# Only a changed table touches the output, so an unchanged one compiles no further.
file(COPY_FILE ${OUT}.tmp ${OUT} ONLY_IF_DIFFERENT)
file(REMOVE ${OUT}.tmp)
