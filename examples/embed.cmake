# Turns INPUT into a C++ source defining the symbols of bundled_example.h; NAME is the text's origin.
file(READ "${INPUT}" hex HEX)
string(LENGTH "${hex}" digits)
math(EXPR size "${digits} / 2")
string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${hex}")
file(WRITE "${OUTPUT}"
"// Made by examples/embed.cmake from ${NAME}; do not edit.
#include \"bundled_example.h\"

namespace {
const unsigned char bytes[] = {
    ${bytes}
};
}  // namespace

const char* const bundled_example_xml = reinterpret_cast<const char*>(bytes);
const size_t bundled_example_size = ${size};
const char* const bundled_example_name = \"${NAME}\";
")
