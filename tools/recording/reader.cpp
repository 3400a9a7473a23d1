#include <cerrno>
#include <cstdio>
#include <system_error>

#include "recording/line_format.h"
#include "recording/recording.h"

namespace recording {

namespace {

util::UniqueFile openOrThrow(const std::string& path) {
    util::UniqueFile file = util::openFile(path, "r");
    if (!file) {
        throw std::runtime_error(path + ": " + std::generic_category().message(errno));
    }
    return file;
}

bool isBlank(const std::string& text) {
    return text.find_first_not_of(" \t\r") == std::string::npos;
}

}  // namespace

Reader::Reader(const std::string& path) : Reader(openOrThrow(path), path) {}

Reader::Reader(util::UniqueFile file, std::string path)
    : file_(std::move(file)), path_(std::move(path)) {
    readHeader();
}

void Reader::readHeader() {
    const std::optional<Line> line = readLine();
    line_ = 1;
    if (!line) {
        throw std::runtime_error(place("not a recording: the file is empty"));
    }
    try {
        header_ = parseHeaderLine(line->text);
    } catch (const std::runtime_error& error) {
        throw std::runtime_error(place("not a recording: " + std::string(error.what())));
    }
}

std::optional<Entry> Reader::next() {
    while (const std::optional<Line> line = readLine()) {
        if (line->tooLong || !isBlank(line->text)) {
            return parseEntry(*line);
        }
    }
    return std::nullopt;
}

std::optional<Entry> Reader::parseEntry(const Line& line) {
    if (line.tooLong) {
        throw std::runtime_error(place("longer than " + std::to_string(kMaxLineBytes) + " bytes"));
    }
    try {
        Entry entry = parseEntryLine(line.text);
        if (entry.at < last_) {
            throw std::runtime_error("earlier than the line before it");
        }
        last_ = entry.at;
        return entry;
    } catch (const NotAnObject& error) {
        if (line.ended) {
            throw std::runtime_error(place(error.what()));
        }
        truncation_ = place("incomplete last line ignored");
        return std::nullopt;
    } catch (const std::runtime_error& error) {
        throw std::runtime_error(place(error.what()));
    }
}

std::optional<Reader::Line> Reader::readLine() {
    Line line;
    int character = 0;
    while ((character = getc_unlocked(file_.get())) != EOF && character != '\n') {
        line.tooLong = line.text.size() >= kMaxLineBytes;
        if (!line.tooLong) {
            line.text += static_cast<char>(character);
        }
    }
    if (std::ferror(file_.get()) != 0) {
        throw std::runtime_error(path_ + ": " + std::generic_category().message(errno));
    }
    line.ended = character == '\n';
    if (!line.ended && line.text.empty()) {
        return std::nullopt;
    }
    ++line_;
    return line;
}

std::string Reader::place(const std::string& problem) const {
    return path_ + ":" + std::to_string(line_) + ": " + problem;
}

}  // namespace recording
