#include "program/completion.h"

#include <algorithm>
#include <iterator>
#include <set>

#include "program/command_line.h"
#include "program/help_text.h"

namespace {

// Kinds of values that a shell knows better than the program.
struct ShellsOwn {
    const char* kind;
    const char* answer;
};
constexpr ShellsOwn kShellsOwn[] = {
    {"FILE", "files"},
    {"DIR", "directories"},
    {"COMMAND", "commands"},
};

// Where the words before the one to be completed lead to.
struct Place {
    const CLI::App* verb = nullptr;
    const CLI::Option* wantsValue = nullptr;  // the last word was an option without its value
    std::vector<std::string> positionals;     // since the verb, or since "--"
    bool optionsEnded = false;  // by "--", behind which stands the last of the positionals
    std::map<std::string, std::string> options;
};

// The app and those whose options it takes, too.
std::vector<const CLI::App*> withParents(const CLI::App* verb) {
    std::vector<const CLI::App*> apps{verb};
    while (verb->get_fallthrough() && verb->get_parent() != nullptr) {
        verb = verb->get_parent();
        apps.push_back(verb);
    }
    return apps;
}

std::vector<const CLI::Option*> optionsOf(const CLI::App* verb) {
    std::vector<const CLI::Option*> found;
    for (const CLI::App* app : withParents(verb)) {
        for (const CLI::Option* option : app->get_options()) {
            if (option->nonpositional()) {
                found.push_back(option);
            }
        }
    }
    return found;
}

const CLI::Option* findOption(const CLI::App* verb, const std::string& name) {
    const auto all = optionsOf(verb);
    const auto found = std::find_if(all.begin(), all.end(), [&name](const CLI::Option* option) {
        return option->check_name(name);
    });
    return found == all.end() ? nullptr : *found;
}

const CLI::App* findVerb(const CLI::App* above, const std::string& name) {
    const auto found =
        above->get_subcommands([&name](const CLI::App* verb) { return verb->check_name(name); });
    return found.empty() ? nullptr : found.front();
}

std::string longName(const CLI::Option& option) {
    return option.get_lnames().empty() ? option.get_name() : "--" + option.get_lnames().front();
}

bool looksLikeOption(const Place& place, const std::string& word) {
    return !place.optionsEnded && word.size() > 1 && word[0] == '-';
}

void passOption(Place& place, const std::string& word) {
    const size_t equals = word.find('=');
    const CLI::Option* option = findOption(place.verb, word.substr(0, equals));
    if (option == nullptr || option->get_expected_max() == 0) {
        return;
    }
    if (equals == std::string::npos) {
        place.wantsValue = option;
    } else {
        place.options[longName(*option)] = word.substr(equals + 1);
    }
}

void passWord(Place& place, const std::string& word) {
    const CLI::App* verb = place.positionals.empty() ? findVerb(place.verb, word) : nullptr;
    if (verb != nullptr && !place.optionsEnded) {
        place.verb = verb;
    } else {
        place.positionals.push_back(word);
    }
}

void pass(Place& place, const std::string& word) {
    if (place.wantsValue != nullptr) {
        place.options[longName(*place.wantsValue)] = word;
        place.wantsValue = nullptr;
    } else if (word == "--" && !place.optionsEnded) {
        place.optionsEnded = true;
        place.positionals.clear();
    } else if (looksLikeOption(place, word)) {
        passOption(place, word);
    } else {
        passWord(place, word);
    }
}

// The answer under way.
struct Answer {
    std::string kind = "words";
    std::vector<Offer> offers;
};

void answerOptions(const Place& place, Answer& answer) {
    std::set<std::string> offered;  // every verb has its own --help
    for (const CLI::Option* option : optionsOf(place.verb)) {
        if (offered.insert(longName(*option)).second) {
            answer.offers.push_back({longName(*option), option->get_description()});
        }
    }
}

void answerVerbs(const Place& place, Answer& answer) {
    if (!place.positionals.empty() || place.optionsEnded) {
        return;
    }
    for (const CLI::App* verb : place.verb->get_subcommands({})) {
        answer.offers.push_back({verb->get_name(), verb->get_description()});
    }
}

// `before` is what stands before the value in the same word.
void answerValues(const Place& place, const CLI::Option& option, const std::string& word,
                  const std::string& before, const OfferValues& offerValues, Answer& answer) {
    const std::string kind = option.get_positional() ? option.get_name(true) : valueWord(option);
    const auto own = std::find_if(std::begin(kShellsOwn), std::end(kShellsOwn),
                                  [&kind](const ShellsOwn& each) { return kind == each.kind; });
    if (own != std::end(kShellsOwn)) {
        answer.kind = own->answer;
        return;
    }
    std::vector<Offer> offers;
    for (const std::string& choice : choicesOf(option)) {
        offers.push_back({choice, ""});
    }
    if (offers.empty() && offerValues) {
        const std::string name = option.get_positional() ? "" : longName(option);
        offers = offerValues(
            {place.verb->get_name(), name, kind, word, place.options, place.positionals});
    }
    for (Offer& offer : offers) {
        answer.offers.push_back({before + offer.word, std::move(offer.about)});
    }
}

std::vector<const CLI::Option*> positionalsOf(const CLI::App& verb) {
    return verb.get_options([](const CLI::Option* option) { return option->get_positional(); });
}

void answerPositional(const Place& place, const std::string& word, const OfferValues& offerValues,
                      Answer& answer) {
    const auto all = positionalsOf(*place.verb);
    if (all.empty()) {
        return;
    }
    const size_t last = all.size() - 1;
    const size_t at = place.positionals.size() + (place.optionsEnded ? last : 0);
    const CLI::Option& option = *all[std::min(at, last)];
    if (at > last && option.get_expected_max() <= 1) {
        return;
    }
    answerValues(place, option, word, "", offerValues, answer);
    if (at > last && answer.kind == "commands") {
        answer.kind = "files";  // the command's own words, of which nothing is known
    }
}

Answer answerTo(const Place& place, const std::string& word, const OfferValues& offerValues) {
    Answer answer;
    const size_t equals = word.find('=');
    if (place.wantsValue != nullptr) {
        answerValues(place, *place.wantsValue, word, "", offerValues, answer);
    } else if (looksLikeOption(place, word) && equals != std::string::npos) {
        if (const auto* option = findOption(place.verb, word.substr(0, equals))) {
            answerValues(place, *option, word.substr(equals + 1), word.substr(0, equals + 1),
                         offerValues, answer);
        }
    } else if (!place.optionsEnded && word.starts_with("-")) {
        answerOptions(place, answer);
    } else {
        answerVerbs(place, answer);
        answerPositional(place, word, offerValues, answer);
    }
    return answer;
}

// A word that a line could not carry is not offered.
bool fitsALine(const std::string& word) {
    return onOneLine(word) == word;
}

template <typename Condition>
std::string linesOf(const std::vector<Offer>& offers, Condition isMeant) {
    std::string text;
    for (const Offer& offer : offers) {
        if (isMeant(offer.word) && fitsALine(offer.word)) {
            const std::string about = onOneLine(offer.about, ' ');
            text += offer.word + (about.empty() ? "" : "\t" + about) + "\n";
        }
    }
    return text;
}

}  // namespace

std::string completion(const CLI::App& app, const std::vector<std::string>& words,
                       const OfferValues& offerValues) {
    Place place;
    place.verb = &app;
    const std::string last = words.empty() ? "" : words.back();
    for (size_t i = 0; i + 1 < words.size(); ++i) {
        pass(place, words[i]);
    }
    const Answer answer = answerTo(place, last, offerValues);
    const auto begins = [&last](const std::string& word) { return word.starts_with(last); };
    const auto beginsSomehow = [&last](const auto& word) { return beginsInAnyCase(word, last); };
    const std::string exact = linesOf(answer.offers, begins);
    return answer.kind + "\n" + (exact.empty() ? linesOf(answer.offers, beginsSomehow) : exact);
}
