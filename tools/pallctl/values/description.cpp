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
    return number ? client::formatValue(descriptor, jsonNumber(*number).get()) : "";
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

UniqueJSON orNull(const std::optional<double>& number) {
    return number ? jsonNumber(*number) : jsonNull();
}

UniqueJSON orNull(int count) {
    return count < 0 ? jsonNull() : jsonNumber(count);
}

UniqueJSON orNull(const std::string& text) {
    return text.empty() ? jsonNull() : jsonString(text);
}

UniqueJSON toJSON(const std::vector<client::Choice>& choices) {
    UniqueJSON list = jsonArray();
    for (const client::Choice& choice : choices) {
        UniqueJSON object = jsonObject();
        addMember(object.get(), "value", jsonNumber(static_cast<double>(choice.value)));
        addMember(object.get(), "name", jsonString(choice.name));
        addElement(list.get(), std::move(object));
    }
    return list;
}

UniqueJSON wholeForm(const client::Parameter& parameter) {
    const client::Descriptor& descriptor = parameter.descriptor;
    UniqueJSON object = pallctl::toJSON(parameter);
    addMember(object.get(), "constraint", orNull(descriptor.constraint));
    addMember(object.get(), "choices", toJSON(descriptor.choices));
    addMember(object.get(), "minimum", orNull(descriptor.least));
    addMember(object.get(), "maximum", orNull(descriptor.most));
    addMember(object.get(), "step", orNull(descriptor.step));
    addMember(object.get(), "maximumLength", orNull(descriptor.maxLength));
    addMember(object.get(), "totalLength", orNull(descriptor.totalLength));
    addMember(object.get(), "decimals", orNull(descriptor.precision));
    addMember(object.get(), "widget", orNull(descriptor.widget));
    return object;
}

// What is not said has no member.
void addSaid(const UniqueJSON& object, const char* key, UniqueJSON value) {
    if (!cJSON_IsNull(value.get())) {
        addMember(object.get(), key, std::move(value));
    }
}

UniqueJSON wireConstraint(const client::Descriptor& descriptor) {
    UniqueJSON object = jsonObject();
    addSaid(object, "type", orNull(descriptor.constraint));
    addSaid(object, "min", orNull(descriptor.least));
    addSaid(object, "max", orNull(descriptor.most));
    addSaid(object, "step", orNull(descriptor.step));
    addSaid(object, "choices",
            descriptor.choices.empty() ? jsonNull() : toJSON(descriptor.choices));
    return object->child ? std::move(object) : jsonNull();
}

// As the device says it, with the members' names and in their order there.
UniqueJSON wireDescriptor(const client::Parameter& parameter) {
    const client::Descriptor& descriptor = parameter.descriptor;
    UniqueJSON object = jsonObject();
    addMember(object.get(), "oid", jsonString(descriptor.name));
    addMember(object.get(), "name", jsonString(descriptor.label));
    addMember(object.get(), "type", jsonString(descriptor.type));
    addMember(object.get(), "readonly", jsonBool(descriptor.readOnly));
    addSaid(object, "widget", orNull(descriptor.widget));
    addSaid(object, "precision", orNull(descriptor.precision));
    addSaid(object, "constraint", wireConstraint(descriptor));
    addSaid(object, "maxlength", orNull(descriptor.maxLength));
    addSaid(object, "totallength", orNull(descriptor.totalLength));
    addSaid(object, "value",
            client::hasValue(parameter) ? copyJSON(parameter.value.get()) : jsonNull());
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
