#include "util/json.h"

#include <thread>

#include <gtest/gtest.h>

#include "support/exhausted_memory.h"

namespace util {

namespace {

UniqueJSON parsed(const std::string& text) {
    return parseJSON(text.data(), text.size());
}

TEST(JSONMember, IsFoundByItsExactName) {
    const UniqueJSON object = parsed(R"({"Name": 1, "name": 2})");
    EXPECT_EQ(jsonMember(object.get(), "name")->valuedouble, 2);
    EXPECT_EQ(jsonMember(object.get(), "Name")->valuedouble, 1);
    EXPECT_EQ(jsonMember(object.get(), "NAME"), nullptr);
}

TEST(JSONMember, IsNullWithoutAnObject) {
    EXPECT_EQ(jsonMember(nullptr, "name"), nullptr);
    EXPECT_EQ(jsonMember(parsed(R"([{"name": 1}])").get(), "name"), nullptr);
    EXPECT_EQ(jsonMember(parsed("1").get(), "name"), nullptr);
    EXPECT_EQ(jsonMember(parsed("{}").get(), "name"), nullptr);
}

TEST(JSONText, IsThatOfAStringOnly) {
    EXPECT_STREQ(jsonText(parsed(R"("text")").get()), "text");
    EXPECT_STREQ(jsonText(parsed(R"("")").get()), "");
    EXPECT_EQ(jsonText(parsed("12").get()), nullptr);
    EXPECT_EQ(jsonText(parsed("null").get()), nullptr);
    EXPECT_EQ(jsonText(nullptr), nullptr);
}

TEST(AddMember, AppendsInOrder) {
    const UniqueJSON object = jsonObject();
    EXPECT_TRUE(addMember(object.get(), "b", jsonNumber(1)));
    EXPECT_TRUE(addMember(object.get(), "a", jsonString("x")));
    EXPECT_EQ(renderJSON(object.get(), false), R"({"b":1,"a":"x"})");
}

TEST(AddMember, RefusesNullItemsAndNullObjects) {
    const UniqueJSON object = jsonObject();
    EXPECT_FALSE(addMember(object.get(), "a", nullptr));
    EXPECT_FALSE(addMember(nullptr, "a", jsonNumber(1)));
    EXPECT_EQ(renderJSON(object.get(), false), "{}");
}

TEST(AddElement, AppendsInOrder) {
    const UniqueJSON array = jsonArray();
    EXPECT_TRUE(addElement(array.get(), jsonBool(true)));
    EXPECT_TRUE(addElement(array.get(), jsonBool(false)));
    EXPECT_TRUE(addElement(array.get(), jsonNull()));
    EXPECT_FALSE(addElement(array.get(), nullptr));
    EXPECT_FALSE(addElement(nullptr, jsonNull()));
    EXPECT_EQ(renderJSON(array.get(), false), "[true,false,null]");
}

TEST(ParseJSON, ReadsNothingBehindTheGivenSize) {
    const char text[] = {'[', '1', '2', '3', ']'};
    EXPECT_EQ(renderJSON(parseJSON(text, 5).get(), false), "[123]");
    EXPECT_EQ(parseJSON(text, 4), nullptr);
    EXPECT_EQ(parseJSON(text, 0), nullptr);
    EXPECT_EQ(renderJSON(parseJSON(text + 1, 2).get(), false), "12");
}

TEST(ParseJSON, GivesNullForWhatIsNoJSON) {
    EXPECT_EQ(parsed("{\"a\": }"), nullptr);
    EXPECT_EQ(parsed("text"), nullptr);
}

TEST(ParseJSON, RefusesBottomlessNesting) {
    EXPECT_EQ(parsed(std::string(100000, '[')), nullptr);
    EXPECT_NE(parsed(std::string(900, '[') + std::string(900, ']')), nullptr);
}

TEST(CopyJSON, CopiesAllBelow) {
    UniqueJSON original = parsed(R"({"a":[1,{"b":"c"}]})");
    const UniqueJSON copy = copyJSON(original.get());
    original.reset();
    EXPECT_EQ(renderJSON(copy.get(), false), R"({"a":[1,{"b":"c"}]})");
    EXPECT_EQ(copyJSON(nullptr), nullptr);
}

TEST(RenderJSON, IndentsOnRequest) {
    const UniqueJSON object = parsed(R"({"a":1,"b":[]})");
    EXPECT_EQ(renderJSON(object.get(), true), "{\n\t\"a\":\t1,\n\t\"b\":\t[]\n}");
    EXPECT_EQ(renderJSON(object.get(), false), R"({"a":1,"b":[]})");
}

TEST(RenderJSON, GivesTheEmptyTextForANullItem) {
    EXPECT_EQ(renderJSON(nullptr, true), "");
    EXPECT_EQ(renderJSON(nullptr, false), "");
}

TEST(JSONDocument, HoldsTheRootItIsGiven) {
    const JSONDocument document(parsed("[1]"));
    EXPECT_EQ(renderJSON(document.root(), false), "[1]");
}

TEST(JSONDocument, HoldsAnEmptyObjectInPlaceOfANullRoot) {
    const JSONDocument document{UniqueJSON()};
    EXPECT_EQ(renderJSON(document.root(), false), "{}");
}

TEST(JSONDocument, ParsesAText) {
    const JSONDocument document(std::string(R"({"a":1})"));
    EXPECT_EQ(renderJSON(document.root(), false), R"({"a":1})");
}

TEST(JSONDocument, HoldsAnEmptyObjectInPlaceOfATextThatDoesNotParse) {
    const JSONDocument document(std::string("{\"a\":"));
    EXPECT_EQ(renderJSON(document.root(), false), "{}");
    EXPECT_EQ(renderJSON(JSONDocument(std::string()).root(), false), "{}");
}

TEST(FailedJSONAllocations, AreCountedWhereTheLibraryKeepsThemToItself) {
    const UniqueJSON object = jsonObject();
    const unsigned long before = failedJSONAllocations();
    addMember(object.get(), "a", jsonNumber(1));
    EXPECT_EQ(failedJSONAllocations(), before);
    {
        const OneFailedAllocation failure(0);
        addMember(object.get(), "b", jsonNumber(1));
    }
    EXPECT_EQ(failedJSONAllocations(), before + 1);
    EXPECT_EQ(renderJSON(object.get(), false), R"({"a":1})");
}

TEST(FailedJSONAllocations, TellShortMemoryFromATextThatIsNoJSON) {
    const unsigned long before = failedJSONAllocations();
    EXPECT_EQ(parsed("{\"a\""), nullptr);
    EXPECT_EQ(failedJSONAllocations(), before);
    const OneFailedAllocation failure(1);
    EXPECT_EQ(parsed("{\"a\": 1}"), nullptr);
    EXPECT_EQ(failedJSONAllocations(), before + 1);
}

TEST(FailedJSONAllocations, AreThoseOfTheCallingThread) {
    const unsigned long before = failedJSONAllocations();
    const OneFailedAllocation failure(0);
    std::thread([] { EXPECT_EQ(jsonNull(), nullptr); }).join();
    EXPECT_EQ(failedJSONAllocations(), before);
}

}  // namespace

}  // namespace util
