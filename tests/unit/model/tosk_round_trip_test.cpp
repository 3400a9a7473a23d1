// Whatever the model holds comes back from its JSON text, and every identifier from its own.

#include <cfloat>
#include <cmath>

#include <gtest/gtest.h>

#include "model/tosk_device.h"
#include "model/tosk_struct_value.h"
#include "support/seeded_random.h"
#include "tosk_test_support.h"

namespace model {

namespace {

constexpr int kRounds = 300;
constexpr std::string_view kLetters = "abcXYZ019_-. \"\\/\n\t\x01\x7f{}[],:é";
constexpr std::string_view kNameLetters = "abcXYZ019_-";

// JSON carries integers as doubles, and texts of 15 digits are told from their neighbours.
constexpr int64_t kExact = 999'999'999'999'999;

// The item after a way through text, as over the bus or from the file.
util::UniqueJSON sent(const util::UniqueJSON& item) {
    return parsed(rendered(item));
}

ToskParam randomParam(SeededRandom& random, int depth);

std::shared_ptr<ToskValue> randomStruct(SeededRandom& random, int depth) {
    auto value = std::make_shared<ToskStructValue>();
    const size_t members = random.below(4);
    for (size_t i = 0; i < members; ++i) {
        ToskParam member = randomParam(random, depth - 1);
        member.setOid(ToskOID::fromParts("", std::to_string(i) + random.text(6, kLetters)));
        value->addParam(member);
    }
    return value;
}

std::shared_ptr<ToskValue> randomValue(SeededRandom& random, int32_t type, int depth) {
    switch (type) {
        case kTypeFloat:
            return std::make_shared<ToskFloatValue>(static_cast<double>(random.between(-99, 99)) /
                                                    8);
        case kTypeString:
            return std::make_shared<ToskStringValue>(random.text(20, kLetters));
        case kTypeStruct:
            return randomStruct(random, depth);
        default:
            return std::make_shared<ToskIntegerValue>(random.between(-kExact, kExact));
    }
}

std::shared_ptr<ToskConstraint> randomChoices(SeededRandom& random) {
    std::vector<ToskIntegerChoiceConstraint::Choice> choices(random.below(4));
    for (auto& choice : choices) {
        choice.value = static_cast<int32_t>(random.between(INT32_MIN, INT32_MAX));
        choice.name = random.text(8, kLetters);
    }
    return std::make_shared<ToskIntegerChoiceConstraint>(choices);
}

void decorate(SeededRandom& random, ToskParam& param) {
    param.setName(random.text(10, kLetters));
    param.setReadonly(random.coin());
    param.setWidget(random.text(5, kLetters));
    param.setPrecision(static_cast<int32_t>(random.between(-1, ToskParam::kMaxPrecision)));
    param.setMaxlength(static_cast<int32_t>(random.between(-1, 40)));
    param.setTotallength(static_cast<int32_t>(random.between(-1, INT32_MAX)));
    param.setConstraint(random.coin() ? randomChoices(random) : nullptr);
}

ToskParam randomParam(SeededRandom& random, int depth) {
    constexpr std::array kTypes{kTypeInt16, kTypeInt32, kTypeFloat, kTypeString, kTypeStruct};
    const int32_t type = kTypes[random.below(depth > 0 ? kTypes.size() : kTypes.size() - 1)];
    ToskParam param = makeParam("system." + random.text(12, kLetters) + "x", type);
    decorate(random, param);
    if (random.coin()) {
        param.setValue(randomValue(random, type, depth));
    }
    return param;
}

TEST(RoundTrip, IntegersOfFifteenDigitsComeBackExactly) {
    SeededRandom random;
    for (int i = 0; i < kRounds; ++i) {
        const ToskIntegerValue value(random.between(-kExact, kExact));
        ToskIntegerValue back;
        ASSERT_EQ(0, back.fromJSON(sent(value.toJSON()).get()));
        ASSERT_EQ(value.value(), back.value());
    }
}

TEST(RoundTrip, IntegersOfFiftyThreeBitsComeBackExactlyWithoutTheText) {
    SeededRandom random;
    constexpr int64_t kEnd = int64_t{1} << 53;
    for (int i = 0; i < kRounds; ++i) {
        const ToskIntegerValue value(random.between(-kEnd, kEnd));
        ToskIntegerValue back;
        ASSERT_EQ(0, back.fromJSON(value.toJSON().get()));
        ASSERT_EQ(value.value(), back.value());
    }
}

TEST(RoundTrip, FloatsComeBackWithinOneUnitOfTheirLastDigit) {
    SeededRandom random;
    for (int i = 0; i < kRounds; ++i) {
        const ToskFloatValue value(random.finite());
        ToskFloatValue back;
        ASSERT_EQ(0, back.fromJSON(sent(value.toJSON()).get()));
        const double error = std::abs(value.value() - back.value());
        ASSERT_LE(error, std::abs(value.value()) * DBL_EPSILON) << value.value();
    }
}

TEST(RoundTrip, TextsComeBackByteForByte) {
    SeededRandom random;
    for (int i = 0; i < kRounds; ++i) {
        const ToskStringValue value(random.text(60, kLetters));
        ToskStringValue back;
        ASSERT_EQ(0, back.fromJSON(sent(value.toJSON()).get()));
        ASSERT_EQ(value.text(), back.text());
    }
}

TEST(RoundTrip, IdentifiersComeBackFromTheirTextAndTheirJSON) {
    SeededRandom random;
    for (int i = 0; i < kRounds; ++i) {
        const ToskOID oid =
            ToskOID::fromParts(random.text(10, kNameLetters), random.text(20, kLetters));
        ASSERT_EQ(oid, ToskOID(oid.toString(), 1)) << oid.toString();
        ToskOID back;
        ASSERT_EQ(0, back.fromJSON(sent(oid.toJSON()).get()));
        ASSERT_EQ(oid, back) << oid.toString();
    }
}

TEST(RoundTrip, ParametersComeBackWithAllTheyHold) {
    SeededRandom random;
    quietly([&] {
        for (int i = 0; i < kRounds; ++i) {
            const ToskParam param = randomParam(random, 3);
            ToskParam back;
            ASSERT_EQ(0, back.fromJSON(sent(param.toJSON()).get()));
            ASSERT_EQ(rendered(param.toJSON()), rendered(back.toJSON()));
        }
    });
}

TEST(RoundTrip, DevicesComeBackWithAllTheyPublish) {
    SeededRandom random;
    quietly([&] {
        for (int i = 0; i < kRounds / 10; ++i) {
            ToskDevice device;
            device.setSlot(static_cast<int32_t>(random.between(INT32_MIN, INT32_MAX)));
            const size_t count = random.below(20);
            for (size_t n = 0; n < count; ++n) {
                device.addParam(std::make_unique<ToskParam>(randomParam(random, 2)));
            }
            ToskDevice back;
            back.fromJSON(sent(device.toJSON()).get());
            ASSERT_EQ(rendered(device.toJSON()), rendered(back.toJSON()));
        }
    });
}

TEST(RoundTrip, ValueSetFromAnothersJSONIsTheOthersValue) {
    SeededRandom random;
    quietly([&] {
        for (int i = 0; i < kRounds; ++i) {
            ToskParam from = makeParam("system.x", kTypeStruct);
            from.setValue(randomValue(random, kTypeStruct, 2));
            ToskParam to = makeParam("system.x", kTypeStruct);
            ASSERT_EQ(0, to.setValueFromJSON(sent(from.valueToJSON()).get()));
            ASSERT_EQ(rendered(from.valueToJSON()), rendered(to.valueToJSON()));
        }
    });
}

}  // namespace

}  // namespace model
