#pragma once

#include <chrono>
#include <cstdio>
#include <functional>
#include <memory>
#include <optional>
#include <string>

// Whole files in and out. Failures are exceptions here, std::runtime_error with the text
// "error while opening file: ", "error while reading file: " or "error while writing file: " and
// the path, unless a function says otherwise. Any thread may call these.

struct FileCloser {
    void operator()(FILE* file) const { std::fclose(file); }
};
using UniqueFile = std::unique_ptr<FILE, FileCloser>;

// fopen, with the descriptor closed in commands that are run later. Null with errno on failure.
// A writer that has to know whether its bytes arrived flushes before it lets go.
UniqueFile openFile(const std::string& path, const char* mode);

// True when stat works on the path, whatever is there.
bool fileExists(const std::string& path);

// Makes one directory (mode 0700) where nothing is yet; its parent has to be there. Throws
// std::system_error with errno and the text "mkdir" and the path, without a space between them.
void makeDirectory(const std::string& path);

// The file's lines: all newlines dropped, or each line with one behind it, the last one too.
std::string readFile(const std::string& path, bool keepNewlines);

// For callers to whom an unreadable file is an empty one, without exception or log line: the bytes
// as they are; the first line without its newline.
std::string readWholeFile(const std::string& path);
std::string readFirstLine(const std::string& path);

// Replaces the file's contents by exactly these bytes and logs the time it took.
void saveTextFile(const std::string& path, const std::string& text);

// What follows the first '=' in the first line that has exactly `key` before it, unchanged: quotes
// and spaces are the caller's to strip. Nothing when no line has it.
std::optional<std::string> findKeyValue(const std::string& text, const std::string& key);

using Pause = std::function<void(std::chrono::milliseconds)>;
void sleepFor(std::chrono::milliseconds time);

// findKeyValue of a file that another process may still be writing: looks ten times, with a pause
// of 500 ms after each look that did not find the key, then gives the empty text. A file that
// cannot be opened is not waited for.
std::string readKeyValue(const std::string& path, const std::string& key,
                         const Pause& pause = sleepFor);
