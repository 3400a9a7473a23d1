#include "cli/script_errors.h"

namespace cli::script {

namespace {

constexpr size_t kMaxReported = 20;

}  // namespace

Error::Error(std::string_view name, int number, std::string_view problem)
    : UserError(std::string(name)
                    .append(":")
                    .append(std::to_string(number))
                    .append(": ")
                    .append(problem)) {}

Error::Error(const std::string& lines) : UserError(lines) {}

void Errors::add(int number, const std::string& problem) {
    if (all_.empty()) {
        first_ = {number, problem};
    }
    all_.insert({number, problem});
}

bool Errors::hasAfter(int number) const {
    return !all_.empty() && all_.rbegin()->first > number;
}

void Errors::throwFirst() const {
    if (!all_.empty()) {
        throw Error(formatProblem(first_));
    }
}

void Errors::throwAll() const {
    std::string text;
    size_t reported = 0;
    for (const Problem& problem : all_) {
        if (reported == kMaxReported) {
            text += "\n" + name_ + ": and " + std::to_string(all_.size() - reported) + " more";
            break;
        }
        text += (reported++ == 0 ? "" : "\n") + formatProblem(problem);
    }
    if (!text.empty()) {
        throw Error(text);
    }
}

std::string Errors::formatProblem(const Problem& problem) const {
    return Error(name_, problem.first, problem.second).what();
}

}  // namespace cli::script
