#include "runtime/reply.h"
#include "kx/replies.h"

namespace kx {

Reply& Reply::fail(int code)
{
    if (code_ == KX_SUCCESS) code_ = code;
    return *this;
}

const cJSON* Reply::find(const char* key) const
{
    return code_ == KX_SUCCESS ? cJSON_GetObjectItem(scope_, key) : nullptr;
}

const cJSON* Reply::member(const char* key, int type, int wrong_type, int missing)
{
    const cJSON* found = find(key);
    if (found && (type == any_type || (found->type & 0xFF) == type)) return found;
    fail(found ? wrong_type : missing);
    return nullptr;
}

int Reply::boolean(const char* key, int otherwise)
{
    const cJSON* state = find(key);
    if (!state) return fail(KX_BAD_REPLY).code();
    return cJSON_IsTrue(state) ? KX_SUCCESS : cJSON_IsFalse(state) ? KX_REFUSED : otherwise;
}

Reply& Reply::object(const char* key)
{
    if (const cJSON* inner = member(key, cJSON_Object)) scope_ = inner;
    return *this;
}

Reply& Reply::pose(const char* key, POSE& out)
{
    float* const fields[6] = {&out.x, &out.y, &out.z, &out.rx, &out.ry, &out.rz};
    return array(key, exactly(6), {KX_WRONG_TYPE, KX_INCOMPLETE_POSE}, [&](int i, int value) {
        *fields[i] = static_cast<float>(value) / (i < 3 ? 1000000.0f : 1000.0f);
    });
}

const char* Reply::string(const char* key)
{
    const cJSON* found = member(key, cJSON_String);
    return found ? found->valuestring : nullptr;
}

// Whole volts in one byte; the fraction and everything above 255 V are lost.
int millivolt_reply(Reply& reply, unsigned char* volts)
{
    int millivolts = 0;
    const int status = reply.integer("voltage", millivolts).code();
    if (status == KX_SUCCESS)
        *volts = static_cast<unsigned char>(static_cast<int>(static_cast<float>(millivolts) / 1000.0));
    return status;
}

} // namespace kx

using namespace kx;

static int boolean_of(const char* text, const char* key, int otherwise = KX_WRONG_TYPE)
{
    return Reply(text).boolean(key, otherwise);
}

int Parser_Set_DH_Data(const char* text)
{
    return boolean_of(text, "set_state");
}

// The same function under a second name.
extern "C" int Parser_Set_Hand(const char* text) __attribute__((alias("Parser_Set_DH_Data")));

int Parser_Plan_Feedback(const char* text)
{
    return boolean_of(text, "trajectory_state");
}

int Parser_Clear_System_Err(const char* text)
{
    return boolean_of(text, "clear_state");
}

int Parser_Set_DO_State(const char* text)
{
    return boolean_of(text, "state");
}

int Parser_Stop_Drag_Trajectory(const char* text)
{
    return boolean_of(text, "stop_state");
}

int Parser_Joint_Speed(const char* text)
{
    return boolean_of(text, "joint_max_speed", KX_NOT_BOOLEAN);
}

int Parser_Get_DO_State(const char* text, unsigned char* state)
{
    Reply reply(text);
    return number_reply(reply, state);
}

int Parser_Get_AO_State(const char* text, unsigned char* volts)
{
    Reply reply(text);
    return millivolt_reply(reply, volts);
}
