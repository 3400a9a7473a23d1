#include "model/text.h"

std::string stripQuotes(std::string text) {
    if (!text.empty() && text.front() == '\'') {
        text.erase(0, 1);
    }
    if (!text.empty() && text.back() == '\'') {
        text.pop_back();
    }
    return text;
}

std::string& trimLeft(std::string& text) {
    return text.erase(0, text.find_first_not_of(kWhiteSpace));
}
