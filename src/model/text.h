#pragma once

#include <string>

// What isspace counts as white space in the C locale, the only one in use.
inline constexpr char kWhiteSpace[] = " \t\n\v\f\r";

// Without one leading and one trailing single quote, each only where there is one.
std::string stripQuotes(std::string text);

// Erases leading white space in place and gives the same text.
std::string& trimLeft(std::string& text);
