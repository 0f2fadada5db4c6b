// Labels as people and programs write them, made the same wherever they come from.
#pragma once

#include <string>
#include <string_view>

namespace telvar_host {

// `text` in Unicode's normal form C, in which a letter and its accent are one character however
// they were typed. Text that is no UTF-8 stays as it is.
std::string normal_form(std::string_view text);

// The name of a category: in normal form C, without white space around it.
std::string clean_label(std::string_view text);

// What is equal for labels that people take for the same: normal form KC without invisible
// characters, white space made one space, Greek and Cyrillic letters that look like Latin ones
// replaced by these, and in small letters where the label is longer than a character.
std::string look_of(std::string_view label);

}  // namespace telvar_host
