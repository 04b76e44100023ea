#include "runtime/push.h"
#include "kx/replies.h"
#include "runtime/command.h"

#include <cjson/cJSON.h>

namespace kx {

int push_type(KeyCode kind)
{
    switch (kind) {
    case KeyCode::joint_state:
        return 1;
    case KeyCode::pose_state:
        return 2;
    case KeyCode::Force_Position_State:
        return 3;
    default:
        return 0;
    }
}

static void copy_numbers(const cJSON* array, float* out, int count)
{
    if (!cJSON_IsArray(array)) return;
    const cJSON* item = array->child;
    for (int i = 0; i < count && item; ++i, item = item->next)
        out[i] = static_cast<float>(item->valuedouble);
}

int decode_push(const cJSON* push, int joints, float* pose, float* joint)
{
    if (!cJSON_GetObjectItem(push, "arm_err")) return KX_BAD_REPLY;
    copy_numbers(cJSON_GetObjectItem(push, "pose"), pose, 6);
    const cJSON* angles = cJSON_GetObjectItem(push, "joint");
    copy_numbers(angles, joint, joints == 7 ? 7 : 6);
    return angles ? angles->valueint : KX_BAD_REPLY;
}

} // namespace kx

using namespace kx;

int Parser_Movej_CANFD(int sockfd, const char* text, float* pose, float* joint)
{
    const Reply push(text);
    return decode_push(push.tree(), joint_count(sockfd), pose, joint);
}

int Parser_Force_Position_Move(const char*)
{
    return KX_SUCCESS;
}
