// A parameter is a list of facts. Paragraphs and shell lines are made from their texts; the JSON
// forms have values of their own types, under the names of this program or, raw, under those of the
// wire.

#include "pallctl/values/description.h"

#include <cmath>
#include <utility>

#include "cli/escape.h"
#include "cli/table.h"
#include "client/format_value.h"
#include "client/known_parameters.h"

namespace pallctl {

namespace {

constexpr size_t kFactColumn = 18;
constexpr const char* kValue = "value";

struct Fact {
    const char* name;
    std::string text;  // empty: not stated
};

std::string formatChoices(const client::Descriptor& descriptor) {
    std::string text;
    for (const client::Choice& choice : descriptor.choices) {
        text += (text.empty() ? "" : ", ") + std::to_string(choice.value) + " " + choice.name;
    }
    return text;
}

std::string formatNumber(const client::Descriptor& descriptor,
                         const std::optional<double>& number) {
    return number ? client::formatValue(descriptor, util::jsonNumber(*number).get()) : "";
}

std::string formatCount(int count) {
    return count < 0 ? "" : std::to_string(count);
}

std::optional<double> findEnd(double end) {
    return std::isfinite(end) ? std::optional(end) : std::nullopt;
}

// What the catalogue knows about the readings of a daemon; empty where it states nothing.
struct UsualValues {
    std::optional<double> minimum;
    std::optional<double> maximum;
    std::optional<double> criticalBelow;
    std::optional<double> criticalAbove;
};

UsualValues findUsualValues(const client::Descriptor& descriptor) {
    const systemstate::Limits* const limits = client::findLimits(descriptor.name);
    return limits ? UsualValues{findEnd(limits->usual.low), findEnd(limits->usual.high),
                                findEnd(limits->tolerated.low), findEnd(limits->tolerated.high)}
                  : UsualValues();
}

// An empty text is a value, too.
std::string formatKnownValue(const client::Parameter& parameter, const Style& style) {
    const std::string text = client::hasValue(parameter) ? formatOneLine(parameter, style) : "";
    return client::hasValue(parameter) && text.empty() ? "\"\"" : text;
}

std::vector<Fact> collectFacts(const client::Parameter& parameter, const Style& style) {
    const client::Descriptor& descriptor = parameter.descriptor;
    const UsualValues usual = findUsualValues(descriptor);
    return {
        {"label", descriptor.label},
        {kValue, formatKnownValue(parameter, style)},
        {"type", descriptor.type},
        {"read-only", descriptor.readOnly ? "yes" : "no"},
        {"constraint", descriptor.constraint},
        {"choices", formatChoices(descriptor)},
        {"minimum", formatNumber(descriptor, descriptor.minimum)},
        {"maximum", formatNumber(descriptor, descriptor.maximum)},
        {"step", formatNumber(descriptor, descriptor.step)},
        {"maximum length", formatCount(descriptor.maxLength)},
        {"total length", formatCount(descriptor.totalLength)},
        {"decimals", formatCount(descriptor.precision)},
        {"widget", descriptor.widget},
        {"usual minimum", formatNumber(descriptor, usual.minimum)},
        {"usual maximum", formatNumber(descriptor, usual.maximum)},
        {"critical below", formatNumber(descriptor, usual.criticalBelow)},
        {"critical above", formatNumber(descriptor, usual.criticalAbove)},
    };
}

std::string formatParagraph(const client::Parameter& parameter, const Style& style) {
    const std::string name = cli::escapeForTerminal(parameter.descriptor.name);
    std::string text = (style.colour ? cli::painted(name, cli::Paint::bold) : name) + '\n';
    for (const Fact& fact : collectFacts(parameter, style)) {
        if (!fact.text.empty()) {
            std::string line = std::string("  ") + fact.name;
            line.resize(kFactColumn, ' ');
            line += cli::escapeForTerminal(fact.text);
            text += (style.columns == 0 ? line : cli::shorten(line, style.columns)) + '\n';
        }
    }
    return text;
}

std::string formatAssignments(const client::Parameter& parameter, const Style& style) {
    std::string lines = formatAssignment(parameter, style) + '\n';
    for (const Fact& fact : collectFacts(parameter, style)) {
        if (fact.name != std::string(kValue)) {
            lines +=
                formatAssignment(parameter.descriptor.name + "." + fact.name, fact.text) + '\n';
        }
    }
    return lines;
}

util::UniqueJSON orNull(const std::optional<double>& number) {
    return number ? util::jsonNumber(*number) : util::jsonNull();
}

util::UniqueJSON orNull(int count) {
    return count < 0 ? util::jsonNull() : util::jsonNumber(count);
}

util::UniqueJSON orNull(const std::string& text) {
    return text.empty() ? util::jsonNull() : util::jsonString(text);
}

util::UniqueJSON toJSON(const std::vector<client::Choice>& choices) {
    util::UniqueJSON list = util::jsonArray();
    for (const client::Choice& choice : choices) {
        util::UniqueJSON object = util::jsonObject();
        util::addMember(object.get(), "value", util::jsonNumber(static_cast<double>(choice.value)));
        util::addMember(object.get(), "name", util::jsonString(choice.name));
        util::addElement(list.get(), std::move(object));
    }
    return list;
}

util::UniqueJSON wholeForm(const client::Parameter& parameter) {
    const client::Descriptor& descriptor = parameter.descriptor;
    util::UniqueJSON object = pallctl::toJSON(parameter);
    util::addMember(object.get(), "constraint", orNull(descriptor.constraint));
    util::addMember(object.get(), "choices", toJSON(descriptor.choices));
    util::addMember(object.get(), "minimum", orNull(descriptor.minimum));
    util::addMember(object.get(), "maximum", orNull(descriptor.maximum));
    util::addMember(object.get(), "step", orNull(descriptor.step));
    util::addMember(object.get(), "maximumLength", orNull(descriptor.maxLength));
    util::addMember(object.get(), "totalLength", orNull(descriptor.totalLength));
    util::addMember(object.get(), "decimals", orNull(descriptor.precision));
    util::addMember(object.get(), "widget", orNull(descriptor.widget));
    const UsualValues usual = findUsualValues(descriptor);
    util::addMember(object.get(), "usualMinimum", orNull(usual.minimum));
    util::addMember(object.get(), "usualMaximum", orNull(usual.maximum));
    util::addMember(object.get(), "criticalBelow", orNull(usual.criticalBelow));
    util::addMember(object.get(), "criticalAbove", orNull(usual.criticalAbove));
    return object;
}

// A fact that the device does not state has no member.
void addStated(const util::UniqueJSON& object, const char* key, util::UniqueJSON value) {
    if (!cJSON_IsNull(value.get())) {
        util::addMember(object.get(), key, std::move(value));
    }
}

util::UniqueJSON wireConstraint(const client::Descriptor& descriptor) {
    util::UniqueJSON object = util::jsonObject();
    addStated(object, "type", orNull(descriptor.constraint));
    addStated(object, "min", orNull(descriptor.minimum));
    addStated(object, "max", orNull(descriptor.maximum));
    addStated(object, "step", orNull(descriptor.step));
    addStated(object, "choices",
              descriptor.choices.empty() ? util::jsonNull() : toJSON(descriptor.choices));
    return object->child ? std::move(object) : util::jsonNull();
}

// With the members' names and order of the device.
util::UniqueJSON wireDescriptor(const client::Parameter& parameter) {
    const client::Descriptor& descriptor = parameter.descriptor;
    util::UniqueJSON object = util::jsonObject();
    util::addMember(object.get(), "oid", util::jsonString(descriptor.name));
    util::addMember(object.get(), "name", util::jsonString(descriptor.label));
    util::addMember(object.get(), "type", util::jsonString(descriptor.type));
    util::addMember(object.get(), "readonly", util::jsonBool(descriptor.readOnly));
    addStated(object, "widget", orNull(descriptor.widget));
    addStated(object, "precision", orNull(descriptor.precision));
    addStated(object, "constraint", wireConstraint(descriptor));
    addStated(object, "maxlength", orNull(descriptor.maxLength));
    addStated(object, "totallength", orNull(descriptor.totalLength));
    addStated(
        object, "value",
        client::hasValue(parameter) ? util::copyJSON(parameter.value.get()) : util::jsonNull());
    return object;
}

}  // namespace

std::string describeParameters(const std::vector<const client::Parameter*>& parameters,
                               const Style& style) {
    if (style.format == Format::json) {
        return formatJSONObject(parameters, style.raw ? wireDescriptor : wholeForm);
    }
    std::string text;
    for (const client::Parameter* parameter : parameters) {
        text += style.format == Format::keyvalue ? formatAssignments(*parameter, style)
                                                 : formatParagraph(*parameter, style);
    }
    return text;
}

}  // namespace pallctl
