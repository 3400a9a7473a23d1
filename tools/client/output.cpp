#include "client/output.h"

#include <unistd.h>

#include <cstdlib>

#include "client/human_form.h"
#include "client/safe_text.h"
#include "client/table.h"

namespace pallctl {

namespace {

std::string environment(const char* name) {
    const char* const value = std::getenv(name);
    return value ? value : "";
}

Paint paintOf(const Parameter& parameter) {
    if (!hasValue(parameter)) {
        return Paint::faint;
    }
    return parameter.descriptor.readOnly ? Paint::none : Paint::bold;
}

std::string tableOf(const std::vector<const Parameter*>& parameters, const Style& style) {
    Table table({"NAME", "VALUE", "TYPE", "READ-ONLY"});
    for (const Parameter* parameter : parameters) {
        const Descriptor& descriptor = parameter->descriptor;
        table.add({printable(descriptor.name),
                   {shownValue(*parameter, style), paintOf(*parameter)},
                   printable(descriptor.type),
                   descriptor.readOnly ? "yes" : "no"});
    }
    return table.text(style.colour);
}

}  // namespace

bool takesColours(int descriptor) {
    return ::isatty(descriptor) == 1 && environment("NO_COLOR").empty() &&
           environment("TERM") != "dumb";
}

std::string shownValue(const Parameter& parameter, const Style& style) {
    return style.raw && hasValue(parameter)
               ? printable(renderJSON(parameter.value.get(), false))
               : humanForm(parameter.descriptor, parameter.value.get());
}

std::string exactValue(const Parameter& parameter, const Style& style) {
    if (!hasValue(parameter)) {
        return "";
    }
    if (style.raw) {
        return renderJSON(parameter.value.get(), false);
    }
    const char* const text = jsonText(parameter.value.get());
    return text ? text : humanForm(parameter.descriptor, parameter.value.get());
}

UniqueJSON jsonForm(const Parameter& parameter) {
    const Descriptor& descriptor = parameter.descriptor;
    UniqueJSON object = jsonObject();
    addMember(object.get(), "name", jsonString(descriptor.name));
    addMember(object.get(), "label", jsonString(descriptor.label));
    addMember(object.get(), "type", jsonString(descriptor.type));
    addMember(object.get(), "readOnly", jsonBool(descriptor.readOnly));
    const bool known = hasValue(parameter);
    addMember(object.get(), "value", known ? copyJSON(parameter.value.get()) : jsonNull());
    addMember(object.get(), "text", known ? jsonString(exactValue(parameter, {})) : jsonNull());
    return object;
}

std::string jsonLine(const cJSON* item) {
    return plainJSON(validUTF8(renderJSON(item, false)));
}

std::string objectOf(const std::vector<const Parameter*>& parameters,
                     UniqueJSON (*form)(const Parameter& parameter)) {
    const UniqueJSON object = jsonObject();
    for (const Parameter* parameter : parameters) {
        const char* const name = parameter->descriptor.name.c_str();
        if (!jsonMember(object.get(), name)) {
            addMember(object.get(), name, form(*parameter));
        }
    }
    return jsonLine(object.get()) + '\n';
}

std::string keyValueForm(const Parameter& parameter, const Style& style) {
    return keyValueForm(parameter.descriptor.name, exactValue(parameter, style));
}

std::string keyValueForm(const std::string& name, const std::string& value) {
    return shellName(name) + '=' + shellQuoted(value);
}

std::string namedValues(const std::vector<const Parameter*>& parameters, const Style& style) {
    Table table({"NAME", "VALUE"});
    for (const Parameter* parameter : parameters) {
        table.add({printable(parameter->descriptor.name), shownValue(*parameter, style)});
    }
    return table.text(style.colour);
}

std::string listing(const std::vector<const Parameter*>& parameters, const Style& style) {
    switch (style.format) {
        case Format::json:
            return objectOf(parameters, jsonForm);
        case Format::table:
            return tableOf(parameters, style);
        case Format::keyvalue:
            break;
    }
    std::string lines;
    for (const Parameter* parameter : parameters) {
        lines += keyValueForm(*parameter, style) + '\n';
    }
    return lines;
}

}  // namespace pallctl
