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

TEST(RequestDeathTest, ALineThatDoesNotFitEndsTheProcess)
{
    EXPECT_EXIT(post(1, Request(std::string(300, 'x').c_str())), testing::KilledBySignal(SIGABRT), "");
}

struct StatusDecoder {
    const char* key;
    int (*decode)(const char* text);
    int other_type;
};

TEST(Decoders, ReadAStatus)
{
    for (const StatusDecoder& row : {StatusDecoder{"set_state", Parser_Set_DH_Data, 11},
                                     {"set_state", Parser_Set_Hand, 11},
                                     {"trajectory_state", Parser_Plan_Feedback, 11},
                                     {"clear_state", Parser_Clear_System_Err, 11},
                                     {"state", Parser_Set_DO_State, 11},
                                     {"stop_state", Parser_Stop_Drag_Trajectory, 11},
                                     {"joint_max_speed", Parser_Joint_Speed, 8}}) {
        const auto status = [&](const std::string& value) {
            return row.decode(("{\"" + std::string(row.key) + "\":" + value + "}\n").c_str());
        };
        EXPECT_EQ(status("true"), 0) << row.key;
        EXPECT_EQ(status("false"), 1) << row.key;
        for (const char* other : {"1", "0", "\"true\"", "null", "[]", "{}"})
            EXPECT_EQ(status(other), row.other_type) << row.key << " " << other;
        EXPECT_EQ(status("tru"), 9) << row.key;
        for (const char* text : {"{}", "", "[true]", "true", "{\"other\":true}"})
            EXPECT_EQ(row.decode(text), 9) << row.key << " " << text;
    }
    int (*volatile second_name)(const char*) =
        Parser_Set_Hand; // else clang takes two names for two functions
    EXPECT_EQ(second_name, Parser_Set_DH_Data);
}

TEST(Decoders, ReadANumberIntoAByte)
{
    const struct {
        const char* key;
        int (*decode)(const char* text, unsigned char* out);
        const char* value;
        int status;
        unsigned char out;
    } rows[] = {
        {"IO_state", Parser_Get_DO_State, "1", 0, 1},
        {"IO_state", Parser_Get_DO_State, "257.9", 0, 1},
        {"IO_state", Parser_Get_DO_State, "true", 11, 77},
        {"other", Parser_Get_DO_State, "1", 9, 77},
        {"voltage", Parser_Get_AO_State, "2999", 0, 2},
        {"voltage", Parser_Get_AO_State, "-2999", 0, 254},
        {"voltage", Parser_Get_AO_State, "257000", 0, 1},
        {"voltage", Parser_Get_AO_State, "999", 0, 0},
        {"voltage", Parser_Get_AO_State, "\"2999\"", 11, 77},
        {"volts", Parser_Get_AO_State, "2999", 9, 77},
    };
    for (const auto& row : rows) {
        unsigned char out = 77;
        const std::string text = "{\"" + std::string(row.key) + "\":" + row.value + "}";
        EXPECT_EQ(row.decode(text.c_str(), &out), row.status) << text;
        EXPECT_EQ(out, row.out) << text;
    }
}
