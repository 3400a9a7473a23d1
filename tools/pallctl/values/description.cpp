#include "pallctl/values/description.h"

#include <utility>

#include "cli/escape.h"
#include "cli/table.h"
#include "client/format_value.h"

namespace pallctl {

namespace {

constexpr size_t kFactWidth = 16;
constexpr const char* kValue = "value";

struct Fact {
    const char* what;
    std::string text;  // empty: not said
};

std::string choicesOf(const client::Descriptor& descriptor) {
    std::string text;
    for (const client::Choice& choice : descriptor.choices) {
        text += (text.empty() ? "" : ", ") + std::to_string(choice.value) + " " + choice.name;
    }
    return text;
}

std::string numberOf(const client::Descriptor& descriptor, const std::optional<double>& number) {
    return number ? client::formatValue(descriptor, util::jsonNumber(*number).get()) : "";
}

std::string countOf(int count) {
    return count < 0 ? "" : std::to_string(count);
}

std::vector<Fact> factsOf(const client::Parameter& parameter, const Style& style) {
    const client::Descriptor& descriptor = parameter.descriptor;
    return {
        {"label", descriptor.label},
        {kValue, client::hasValue(parameter) ? formatOneLine(parameter, style) : ""},
        {"type", descriptor.type},
        {"read-only", descriptor.readOnly ? "yes" : "no"},
        {"constraint", descriptor.constraint},
        {"choices", choicesOf(descriptor)},
        {"minimum", numberOf(descriptor, descriptor.least)},
        {"maximum", numberOf(descriptor, descriptor.most)},
        {"step", numberOf(descriptor, descriptor.step)},
        {"maximum length", countOf(descriptor.maxLength)},
        {"total length", countOf(descriptor.totalLength)},
        {"decimals", countOf(descriptor.precision)},
        {"widget", descriptor.widget},
    };
}

std::string paragraph(const client::Parameter& parameter, const Style& style) {
    const std::string name = cli::escapeForTerminal(parameter.descriptor.name);
    std::string text = (style.colour ? cli::painted(name, cli::Paint::bold) : name) + '\n';
    for (const Fact& fact : factsOf(parameter, style)) {
        if (!fact.text.empty()) {
            const std::string what = fact.what;
            text += "  " + what + std::string(kFactWidth - what.size(), ' ') +
                    cli::escapeForTerminal(fact.text) + '\n';
        }
    }
    return text;
}

std::string assignments(const client::Parameter& parameter, const Style& style) {
    std::string lines = formatAssignment(parameter, style) + '\n';
    for (const Fact& fact : factsOf(parameter, style)) {
        if (fact.what != std::string(kValue)) {
            lines +=
                formatAssignment(parameter.descriptor.name + "." + fact.what, fact.text) + '\n';
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
    util::addMember(object.get(), "minimum", orNull(descriptor.least));
    util::addMember(object.get(), "maximum", orNull(descriptor.most));
    util::addMember(object.get(), "step", orNull(descriptor.step));
    util::addMember(object.get(), "maximumLength", orNull(descriptor.maxLength));
    util::addMember(object.get(), "totalLength", orNull(descriptor.totalLength));
    util::addMember(object.get(), "decimals", orNull(descriptor.precision));
    util::addMember(object.get(), "widget", orNull(descriptor.widget));
    return object;
}

// What is not said has no member.
void addSaid(const util::UniqueJSON& object, const char* key, util::UniqueJSON value) {
    if (!cJSON_IsNull(value.get())) {
        util::addMember(object.get(), key, std::move(value));
    }
}

util::UniqueJSON wireConstraint(const client::Descriptor& descriptor) {
    util::UniqueJSON object = util::jsonObject();
    addSaid(object, "type", orNull(descriptor.constraint));
    addSaid(object, "min", orNull(descriptor.least));
    addSaid(object, "max", orNull(descriptor.most));
    addSaid(object, "step", orNull(descriptor.step));
    addSaid(object, "choices",
            descriptor.choices.empty() ? util::jsonNull() : toJSON(descriptor.choices));
    return object->child ? std::move(object) : util::jsonNull();
}

// As the device says it, with the members' names and in their order there.
util::UniqueJSON wireDescriptor(const client::Parameter& parameter) {
    const client::Descriptor& descriptor = parameter.descriptor;
    util::UniqueJSON object = util::jsonObject();
    util::addMember(object.get(), "oid", util::jsonString(descriptor.name));
    util::addMember(object.get(), "name", util::jsonString(descriptor.label));
    util::addMember(object.get(), "type", util::jsonString(descriptor.type));
    util::addMember(object.get(), "readonly", util::jsonBool(descriptor.readOnly));
    addSaid(object, "widget", orNull(descriptor.widget));
    addSaid(object, "precision", orNull(descriptor.precision));
    addSaid(object, "constraint", wireConstraint(descriptor));
    addSaid(object, "maxlength", orNull(descriptor.maxLength));
    addSaid(object, "totallength", orNull(descriptor.totalLength));
    addSaid(object, "value",
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
        text += style.format == Format::keyvalue ? assignments(*parameter, style)
                                                 : paragraph(*parameter, style);
    }
    return text;
}

}  // namespace pallctl
