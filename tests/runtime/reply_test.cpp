// Wire numbers, lines that do not fit, and the decoders that many commands share.
#include "kx_base.h"
#include "runtime/command.h"

#include <cjson/cJSON.h>
#include <climits>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>

using namespace kx;

TEST(Request, TruncatesTowardZeroInSinglePrecision)
{
    const float infinity = std::numeric_limits<float>::infinity();
    const struct {
        float value, factor;
        int expected;
    } rows[] = {
        {12.3456f, 1000, 12345},
        {-0.0009f, 1000, 0},
        {-1.9999f, 1000, -1999},
        {0.1234567f, 1e6f, 123456},
        {2147484, 1000, INT_MAX},
        {-3e9f, 1, INT_MIN},
        {infinity, 1000, INT_MAX},
        {-infinity, 1000, INT_MIN},
        {std::nanf(""), 1000, INT_MIN},
        {2147483.5f, 1000, 2147483520},
        {-2147483648.0f, 1, INT_MIN},
        {16777.217f, 1000, 16777216}, // 16777217 is no single-precision number
    };
    for (const auto& row : rows)
        EXPECT_EQ(truncated(row.value, row.factor).value, row.expected) << row.value;
}

static std::string sent(Request request)
{
    const Line* line = request.framed();
    return line ? std::string(line->text, static_cast<size_t>(line->length)) : "does not fit";
}

// cJSON is the judge of how an object is printed, whatever its members.
TEST(Request, LooksAsCJsonPrintsIt)
{
    const double numbers[] = {
        0,       1,    -1,    1.5,       0.1,         -0.0009,      1e20,   123456789012345678.,
        1.0 / 3, 1e-7, 12.5f, 0.1f * 10, 2147483647., -2147483648., 5e-324, NAN,
        INFINITY};
    for (const char* text : {"plain", "", "quo\"te\\\b\f\n\r\t", "\x01\x1f/", "gr\xc3\xbc\xc3\x9f"})
        for (const double number : numbers) {
            cJSON* judge = cJSON_CreateObject();
            cJSON_AddStringToObject(judge, "command", text);
            cJSON_AddNumberToObject(judge, "number", number);
            cJSON* poses = cJSON_AddObjectToObject(judge, "inner");
            cJSON_AddItemToObject(poses, "empty", cJSON_CreateArray());
            const int items[] = {INT_MAX, INT_MIN, 0};
            cJSON_AddItemToObject(poses, "items", cJSON_CreateIntArray(items, 3));
            char* printed = cJSON_Print(judge);
            EXPECT_EQ(sent(Request(text)
                               .number("number", number)
                               .object("inner", Request()
                                                    .array("empty", -1, [](int) { return 0; })
                                                    .array("items", 3, [&](int i) { return items[i]; }))),
                      printed + std::string("\r\n"));
            cJSON_free(printed);
            cJSON_Delete(judge);
        }
    EXPECT_EQ(sent(Request()), "{\n}\r\n");
}

TEST(Request, FitsTwoHundredNinetyNineCharacters)
{
    const size_t frame = strlen("{\n\t\"command\":\t\"\"\n}\r\n");
    EXPECT_EQ(sent(Request(std::string(299 - frame, 'x').c_str())).size(), 299u);
    EXPECT_EQ(sent(Request(std::string(300 - frame, 'x').c_str())), "does not fit");
}

TEST(Request, KnowsWhetherItSaysWhatWasMeant)
{
    const float odd[] = {0, std::nanf(""), 3e9f};
    const POSE pose = {0, 0, 0, INFINITY, 0, 0};
    EXPECT_TRUE(Request("x").joints("j", odd, 1).is_true());
    EXPECT_FALSE(Request("x").joints("j", odd, 2).is_true());
    EXPECT_FALSE(Request("x").number("v", truncated(odd[2], 1)).is_true());
    EXPECT_FALSE(Request("x").number("v", static_cast<double>(odd[1])).is_true());
    EXPECT_FALSE(Request("x").object("p", Request().pose("p", pose)).is_true());
}

// What the rows of the list leave open: a reply that is no object, and whole volts in one byte.
TEST(Decoders, ReadWhatTheyAreGiven)
{
    for (const char* text : {"", "[true]", "true", "{\"other\":true}", "{\"set_state\":tru}"})
        EXPECT_EQ(Parser_Set_DH_Data(text), 9) << text;
    int (*volatile second_name)(const char*) =
        Parser_Set_Hand; // else clang takes two names for two functions
    EXPECT_EQ(second_name, Parser_Set_DH_Data);
    for (const auto& [text, volts] : {std::pair(R"({"voltage":-2999})", 254), {R"({"voltage":257000})", 1}}) {
        unsigned char out = 77;
        EXPECT_EQ(Parser_Get_AO_State(text, &out), 0) << text;
        EXPECT_EQ(out, volts) << text;
    }
}
