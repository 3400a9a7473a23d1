#include "pallframe/doctor/report.h"

#include <algorithm>
#include <array>

#include "cli/escape.h"
#include "cli/table.h"
#include "pallframe/doctor/json_text.h"

namespace pallframe::doctor {

namespace {

// In the order of the enumeration.
constexpr std::array<const char*, 8> kStateWords{
    "ok",        "missing",     "unreadable", "not executable",
    "read-only", "undecodable", "skipped",    "skipped",
};

std::string formatState(State state) {
    return kStateWords.at(static_cast<size_t>(state));
}

// "ipAddress 0, netmask 0", without a value where none is known.
std::string formatPublished(const std::vector<Published>& published) {
    std::string text;
    for (const Published& one : published) {
        text += text.empty() ? "" : ", ";
        text += one.name;
        text += one.value.empty() ? "" : " ";
        text += one.value;
    }
    return text;
}

// The line and its end. What does not fit the width continues at the column `indent`.
std::string wrapLine(std::string line, size_t indent, size_t maxWidth) {
    std::string lines;
    while (maxWidth > 2 * indent && cli::textWidth(line) > maxWidth) {
        // In bytes, so that a line with other characters than ASCII may end early.
        const size_t blank = line.rfind(' ', maxWidth);
        if (blank == std::string::npos || blank <= indent) {
            break;
        }
        lines += line.substr(0, blank) + "\n";
        line.replace(0, blank + 1, indent, ' ');
    }
    return lines + line + "\n";
}

constexpr size_t kPathColumn = 16;
constexpr size_t kConsequenceColumn = 4;

std::string consequences(const Finding& finding, size_t maxWidth) {
    const std::string names = formatPublished(finding.published);
    std::string text(finding.effect);
    if (!names.empty()) {
        text = names + (text.empty() ? "" : ": ") + text;
    }
    return text.empty() ? ""
                        : wrapLine(std::string(kConsequenceColumn, ' ') + text, kConsequenceColumn,
                                   maxWidth);
}

std::string formatText(const Finding& finding, size_t maxWidth) {
    std::string line = formatState(finding.state);
    line.resize(kPathColumn, ' ');
    line += cli::escapeForTerminal(finding.path);
    line += finding.reason.empty() ? "" : " (" + cli::escapeForTerminal(finding.reason) + ")";
    return wrapLine(line, kPathColumn, maxWidth) + consequences(finding, maxWidth);
}

size_t countFindings(const Diagnosis& diagnosis, State state) {
    return static_cast<size_t>(std::ranges::count(diagnosis.findings, state, &Finding::state));
}

size_t countProblems(const Diagnosis& diagnosis) {
    return static_cast<size_t>(std::ranges::count_if(diagnosis.findings, &Finding::isProblem));
}

std::string skippedText(const Diagnosis& diagnosis, State state, const char* hint) {
    const size_t count = countFindings(diagnosis, state);
    return count == 0 ? "" : "; " + std::to_string(count) + " skipped (" + hint + ")";
}

std::string summary(const Diagnosis& diagnosis) {
    const size_t problems = countProblems(diagnosis);
    const std::string all = std::to_string(diagnosis.findings.size());
    const std::string skipped = skippedText(diagnosis, State::notAccessible, "needs root") +
                                skippedText(diagnosis, State::notRunning, "needs a running frame");
    const size_t passed = diagnosis.findings.size() - problems -
                          countFindings(diagnosis, State::notAccessible) -
                          countFindings(diagnosis, State::notRunning);
    const std::string result = problems == 0
                                   ? std::to_string(passed) + " checks passed"
                                   : std::to_string(problems) + " of " + all + " checks failed";
    return result + skipped + ".";
}

util::UniqueJSON makeValue(const Published& published) {
    return published.value.empty()
               ? util::jsonNull()
               : util::parseJSON(published.value.data(), published.value.size());
}

util::UniqueJSON makeItem(const Finding& finding) {
    util::UniqueJSON published = util::jsonObject();
    for (const Published& one : finding.published) {
        util::addMember(published.get(), std::string(one.name).c_str(), makeValue(one));
    }
    util::UniqueJSON item = util::jsonObject();
    util::addMember(item.get(), "path", textItem(finding.path));
    util::addMember(item.get(), "state", util::jsonString(formatState(finding.state)));
    util::addMember(item.get(), "reason", textItem(finding.reason));
    util::addMember(item.get(), "published", std::move(published));
    util::addMember(item.get(), "effect", util::jsonString(std::string(finding.effect)));
    return item;
}

}  // namespace

std::string formatText(const Diagnosis& diagnosis, size_t maxWidth) {
    std::string text = "product         " + cli::escapeForTerminal(diagnosis.product) + "\n";
    for (const bool areProblems : {true, false}) {
        for (const Finding& finding : diagnosis.findings) {
            text += finding.isProblem() == areProblems ? formatText(finding, maxWidth) : "";
        }
    }
    return text + wrapLine(summary(diagnosis), 0, maxWidth);
}

std::string formatJSON(const Diagnosis& diagnosis) {
    util::UniqueJSON findings = util::jsonArray();
    for (const Finding& finding : diagnosis.findings) {
        util::addElement(findings.get(), makeItem(finding));
    }
    const util::UniqueJSON all = util::jsonObject();
    util::addMember(all.get(), "product", textItem(diagnosis.product));
    util::addMember(all.get(), "well", util::jsonBool(diagnosis.isWell()));
    util::addMember(all.get(), "checks", std::move(findings));
    return util::renderJSON(all.get(), false) + "\n";
}

}  // namespace pallframe::doctor
