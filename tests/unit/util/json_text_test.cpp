#include "util/json_text.h"

#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include "support/json_text.h"
#include "util/json.h"

// What is written is compared with what the JSON library prints for the same value.

namespace util {

namespace {

std::string writtenString(const std::string& text) {
    std::string out;
    appendJSONString(out, text);
    return out;
}

std::string writtenNumber(double number) {
    std::string out;
    appendJSONNumber(out, number);
    return out;
}

void expectLikeLibrary(double number) {
    EXPECT_EQ(rendered(jsonNumber(number)), writtenNumber(number)) << number;
}

// Every run tries the same values.
class Values {
  public:
    std::uint64_t bits() { return source_(); }
    std::size_t upTo(std::size_t most) { return static_cast<std::size_t>(source_() % (most + 1)); }

    double number() {
        const auto whole = static_cast<std::int64_t>(bits());
        switch (upTo(3)) {
            case 0:
                return static_cast<double>(whole >> upTo(63));
            case 1:
                return static_cast<double>(whole >> upTo(63)) / 1000;
            case 2:
                return static_cast<double>(static_cast<float>(upTo(20'000)) / 1000.0F);
            default:
                break;
        }
        double number = 0;
        std::memcpy(&number, &whole, sizeof number);
        return number;
    }

    std::string text() {
        std::string text(upTo(40), '\0');
        for (char& character : text) {
            const std::size_t byte = upTo(3) == 0 ? 1 + upTo(30) : 1 + upTo(254);
            character = upTo(5) == 0 ? "\"\\/\x7f"[upTo(3)] : static_cast<char>(byte);
        }
        return text;
    }

    UniqueJSON item(int levels) {
        switch (upTo(levels > 0 ? 6 : 4)) {
            case 0:
                return jsonNull();
            case 1:
                return jsonBool(upTo(1) == 1);
            case 2:
                return jsonString(text());
            case 3:
            case 4:
                return jsonNumber(number());
            case 5:
                return array(levels - 1);
            default:
                return object(levels - 1);
        }
    }

  private:
    UniqueJSON array(int levels) {
        UniqueJSON array = jsonArray();
        for (std::size_t count = upTo(4); count > 0; --count) {
            addElement(array.get(), item(levels));
        }
        return array;
    }

    UniqueJSON object(int levels) {
        UniqueJSON object = jsonObject();
        for (std::size_t count = upTo(4); count > 0; --count) {
            addMember(object.get(), text().c_str(), item(levels));
        }
        return object;
    }

    std::mt19937_64 source_{12};
};

TEST(JSONText, StringsAreQuotedAndEscaped) {
    EXPECT_EQ(R"("")", writtenString(""));
    EXPECT_EQ(R"("10.0.0.5")", writtenString("10.0.0.5"));
    EXPECT_EQ(R"("a \" \\ \b \f \n \r \t \u0001 \u001f / é")",
              writtenString("a \" \\ \b \f \n \r \t \x01 \x1f / é"));
}

TEST(JSONText, StringsEndAtANul) {
    EXPECT_EQ(R"("ab")", writtenString(std::string("ab\0cd", 5)));
    EXPECT_EQ(R"("")", writtenString(std::string("\0", 1)));
}

TEST(JSONText, EveryByteOfAStringIsWrittenAsTheLibraryPrintsIt) {
    for (int byte = 1; byte < 256; ++byte) {
        const std::string text = "a" + std::string(1, static_cast<char>(byte)) + "b";
        EXPECT_EQ(rendered(jsonString(text)), writtenString(text)) << byte;
    }
}

TEST(JSONText, WholeNumbersHaveNoFraction) {
    EXPECT_EQ("0", writtenNumber(0));
    EXPECT_EQ("-1", writtenNumber(-1));
    EXPECT_EQ("167772165", writtenNumber(167772165));
    EXPECT_EQ("999999999999999", writtenNumber(999999999999999));
}

TEST(JSONText, OtherNumbersAreAsShortAsTheLibraryMakesThem) {
    EXPECT_EQ("0.1", writtenNumber(0.1));
    EXPECT_EQ("-11.5", writtenNumber(-11.5));
    EXPECT_EQ("0.33333333333333331", writtenNumber(1.0 / 3));
    EXPECT_EQ("1e+300", writtenNumber(1e300));
}

TEST(JSONText, NumbersThatAreNotFiniteAreNull) {
    EXPECT_EQ("null", writtenNumber(std::numeric_limits<double>::infinity()));
    EXPECT_EQ("null", writtenNumber(-std::numeric_limits<double>::infinity()));
    EXPECT_EQ("null", writtenNumber(std::numeric_limits<double>::quiet_NaN()));
}

TEST(JSONText, NumbersNearEachPowerOfTenAndTwoAreWrittenAsTheLibraryPrintsThem) {
    expectLikeLibrary(-0.0);
    for (int exponent = -330; exponent <= 308; ++exponent) {
        const double power = std::pow(10.0, exponent);
        for (const double number : {power, power - 1, power + 1, std::nextafter(power, 0)}) {
            expectLikeLibrary(number);
            expectLikeLibrary(-number);
        }
    }
    for (int exponent = 0; exponent < 70; ++exponent) {
        const double power = std::ldexp(1.0, exponent);
        for (const double number : {power, power - 1, power + 1, power + 0.5}) {
            expectLikeLibrary(number);
            expectLikeLibrary(-number);
        }
    }
}

TEST(JSONText, AnyNumberIsWrittenAsTheLibraryPrintsIt) {
    Values values;
    for (int i = 0; i < 20'000; ++i) {
        expectLikeLibrary(values.number());
    }
}

TEST(JSONText, AnyTreeIsWrittenAsTheLibraryPrintsIt) {
    Values values;
    for (int i = 0; i < 2'000; ++i) {
        const UniqueJSON item = values.item(4);
        std::string text;
        appendJSON(text, *item);
        ASSERT_EQ(rendered(item), text);
    }
}

TEST(JSONText, RawItemsAreWrittenAsTheyAre) {
    const UniqueJSON item(cJSON_CreateRaw("[1, 2]"));
    std::string text;
    appendJSON(text, *item);
    EXPECT_EQ("[1, 2]", text);
}

TEST(JSONText, IsAppendedToWhatIsThere) {
    std::string text = "before ";
    appendJSON(text, *parsed(R"({"a":[1,true,false,null,"x"],"":{}})"));
    appendJSONString(text, "s");
    appendJSONNumber(text, 7);
    EXPECT_EQ(R"(before {"a":[1,true,false,null,"x"],"":{}}"s"7)", text);
}

TEST(JSONText, ALongTreeTakesNoMoreMemoryThanItsText) {
    constexpr std::size_t kLength = 1'000'000;
    const UniqueJSON item = jsonString(std::string(kLength, 'x'));
    std::string text;
    appendJSON(text, *item);
    EXPECT_LT(text.capacity(), kLength + 100);
}

}  // namespace

}  // namespace util
