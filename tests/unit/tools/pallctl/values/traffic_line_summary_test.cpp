#include <gtest/gtest.h>

#include "pallctl/values/traffic_line.h"

namespace pallctl {
namespace {

std::string content(const std::string& data) {
    return summarizeData(util::parseJSON(data.data(), data.size()).get());
}

struct Case {
    const char* data;
    const char* content;
};

class TrafficContent : public testing::TestWithParam<Case> {};

const Case kCases[] = {
    {R"({"id":"1","param":{"a":1,"b":"x"}})", R"(a=1, b="x")"},
    {R"({"id":"1","param":{"objectName":["a","b"]}})", "a, b"},
    {R"({"id":"1","paramDescriptor":{"objectName":["a","b"]}})", "descriptors of a, b"},
    {R"({"id":"1","param":{"objectName":["a"]},"paramDescriptor":{"objectName":["b"]}})",
     "a descriptors of b"},
    {R"({"id":"1","requestCommand":"GET","statusCode":200,"statusMsg":"OK","param":{"a":1}})",
     "200 OK a=1"},
    {R"({"statusCode":200,"paramDescriptor":{"d_system.a":{"oid":"system.a"},"x":{}}})",
     "200 OK descriptors of system.a, x"},
    {R"({"statusCode":299})", "299"},
    {R"({"statusCode":"200"})", R"("200")"},
    {R"({"id":"1"})", ""},
    {R"({"seq":[1,2],"param":{"a":null}})", "seq=[1,2] a=null"},
    {R"({"param":[1]})", "[1]"},
    {R"({"param":{"objectName":"a"}})", R"(objectName="a")"},
    {R"([1])", "[1]"},
};

INSTANTIATE_TEST_SUITE_P(Of, TrafficContent, testing::ValuesIn(kCases));

TEST_P(TrafficContent, SaysInShortWhatTheDataSay) {
    EXPECT_EQ(content(GetParam().data), GetParam().content);
}

}  // namespace
}  // namespace pallctl
