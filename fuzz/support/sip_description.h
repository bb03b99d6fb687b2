// Session descriptions as far stations send them, made of a word: each character adds a piece. So a small
// change of an input is a small change of a description.
#pragma once

#include <string>
#include <string_view>

namespace hark::fuzz {

// 'a' a medium with audio, 'v' one with video, 'z' the same without a port; digits are formats of the last
// medium; 's' 'r' 'i' 'b' directions; 'c' a connection of the last medium, 'n' none of the session; 'p' a
// packet time; 'f' parameters of a format; 'e' telephone events; 'm' several formats at once; 'u' a version
// that is higher; 'h' hold (0.0.0.0); '!' a line that is none; 'q' a long value. Others say nothing.
[[nodiscard]] std::string description_of(std::string_view word);

}  // namespace hark::fuzz
