#include "model/saved_text.h"

#include <functional>
#include <new>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "model/tosk_persisted_structure.h"
#include "model/tosk_struct_value.h"
#include "support/exhausted_memory.h"
#include "tosk_test_support.h"

namespace model {

namespace {

// The depth of a list element in the state file.
std::string printedInFile(util::UniqueJSON device) {
    util::UniqueJSON list = util::jsonArray();
    util::addElement(list.get(), std::move(device));
    util::UniqueJSON state = util::jsonObject();
    util::addMember(state.get(), "devices", std::move(list));
    util::UniqueJSON root = util::jsonObject();
    util::addMember(root.get(), "state", std::move(state));
    return util::renderJSON(root.get(), true);
}

void expectLikeLibrary(const ToskDevice& device) {
    EXPECT_EQ(printedInFile(device.toJSON()), printedInFile(device.toSavedJSON()));
}

// Every run makes the same changes.
class Changes {
  public:
    std::size_t upTo(std::size_t most) { return static_cast<std::size_t>(source_() % (most + 1)); }

    std::string text() {
        std::string text(upTo(12), '\0');
        for (char& character : text) {
            character =
                upTo(2) == 0 ? "\"\\/\n\t{}[],:"[upTo(10)] : static_cast<char>(1 + upTo(254));
        }
        return text;
    }

    std::shared_ptr<ToskValue> value() {
        switch (upTo(4)) {
            case 0:
                return std::make_shared<ToskIntegerValue>(static_cast<int64_t>(source_()) >>
                                                          upTo(63));
            case 1:
                return std::make_shared<ToskFloatValue>(static_cast<double>(source_()) / 1000);
            case 2:
                return std::make_shared<ToskStringValue>(text());
            case 3:
                return structure();
            default:
                return nullptr;
        }
    }

    std::shared_ptr<ToskConstraint> constraint() {
        std::vector<ToskIntegerChoiceConstraint::Choice> choices(upTo(3));
        for (ToskIntegerChoiceConstraint::Choice& choice : choices) {
            choice = {static_cast<int32_t>(upTo(9)), text()};
        }
        return upTo(3) == 0 ? nullptr : std::make_shared<ToskIntegerChoiceConstraint>(choices);
    }

    void change(ToskParam& param) {
        const std::function<void()> changes[] = {
            [&] { param.setOid(ToskOID::fromParts(text(), text())); },
            [&] { param.setName(text()); },
            [&] { param.setType(static_cast<int32_t>(upTo(10))); },
            [&] { param.setReadonly(!param.readonly()); },
            [&] { param.setWidget(text()); },
            [&] { param.setPrecision(static_cast<int32_t>(upTo(4)) - 1); },
            [&] { param.setConstraint(constraint()); },
            [&] { param.setMaxlength(static_cast<int32_t>(upTo(4)) - 1); },
            [&] { param.setTotallength(static_cast<int32_t>(upTo(4)) - 1); },
            [&] { param.setPublished(!param.published()); },
            [&] { param.setValue(value()); },
        };
        changes[upTo(std::size(changes) - 1)]();
    }

  private:
    std::shared_ptr<ToskValue> structure() {
        auto value = std::make_shared<ToskStructValue>();
        for (std::size_t members = upTo(2); members > 0; --members) {
            value->addParam(makeMember(text(), kTypeInt32, this->value()));
        }
        return value;
    }

    std::mt19937_64 source_{20'261'122};
};

TEST(SavedText, IsWhatTheLibraryPrintsWhateverHasChanged) {
    ToskDevice device;
    std::vector<ToskParam*> params;
    Changes changes;
    for (int step = 0; step < 5000; ++step) {
        if (step % 500 == 0) {
            params.push_back(device.addParam(std::make_unique<ToskParam>()));
            params.back()->setOid(ToskOID::fromParts("system", "p" + std::to_string(step)));
            device.rename(".", params.back()->oid());
        }
        changes.change(*params[changes.upTo(params.size() - 1)]);
        expectLikeLibrary(device);
    }
}

TEST(SavedText, TakesOverAValueThatChangedInPlace) {
    ToskParam param;
    param.setOid(ToskOID("system.a", 1));
    const auto value = std::make_shared<ToskStringValue>("one");
    param.setValue(value);
    SavedText text;
    EXPECT_EQ(
        "\n\t\t\t\t\t\"d_system.a\":\t{\n\t\t\t\t\t\t\"oid\":\t\"system.a\",\n"
        "\t\t\t\t\t\t\"name\":\t\"\",\n\t\t\t\t\t\t\"type\":\t\"INT16\",\n"
        "\t\t\t\t\t\t\"readonly\":\tfalse,\n\t\t\t\t\t\t\"value\":\t\"one\"\n\t\t\t\t\t}",
        text.update(param));
    ASSERT_EQ(0, value->fromJSON(parsed(R"("fifteen")").get()));
    EXPECT_NE(std::string::npos, text.update(param).find("\"value\":\t\"fifteen\"\n"));
}

TEST(SavedText, IsNotKeptIfAPartOfItFoundNoMemory) {
    ToskParam param;
    param.setOid(ToskOID("system.a", 1));
    param.setValue(Changes().value());
    const std::string complete = SavedText().update(param);
    bool failed = true;
    for (unsigned long number = 0; failed; ++number) {
        SavedText text;
        {
            const OneFailedAllocation failure(number);
            try {
                text.update(param);
            } catch (const std::bad_alloc&) {
                EXPECT_TRUE(OneFailedAllocation::happened());
            }
            failed = OneFailedAllocation::happened();
        }
        EXPECT_EQ(complete, text.update(param)) << number;
    }
}

}  // namespace

}  // namespace model
