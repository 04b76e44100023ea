// The kinematics of any bytes as numbers: flat functions and arm models return, write what they say, and find
// solutions that keep the limits.
#include "kx/arm_model.h"
#include "kx_base.h"

#include "target.h"

#include <cstring>

void judge(std::string_view input)
{
    struct {
        std::uint8_t model, flag;
        float joint[7], reference[7], limit[2];
        KinPose target;
        Matrix matrix;
    } in = {};
    std::memcpy(&in, input.data(), std::min(input.size(), sizeof in));
    const int model = in.model % 4 == 0 ? 36 : in.model % 4 == 1 ? 46 : in.model % 4 == 2 ? 47 : in.model;

    matrix_m(in.matrix, in.matrix);
    const Matrix inverse = matrix_inv(in.matrix);
    require(inverse.rows == in.matrix.rows && inverse.cols == in.matrix.cols, "an inverse keeps its size");
    float result[7];
    const KinPose pose = Forward_Kinematics(model, in.joint);
    for (const KinPose& target : {pose, in.target}) {
        const int code = inverse_kinematics(model, in.reference, &target, result, in.flag);
        require(code >= -11 && code <= 2, "a code that is documented");
    }

    ARM_MODEL arm;
    if (Arm_Model_Init(&arm, model, in.flag % 3) != 0) return;
    Arm_Model_Limit(&arm, 1 + in.flag % 7, in.limit[0], in.limit[1]);
    for (const KinPose& target : {Arm_Model_Pose(&arm, in.joint), in.target}) {
        if (Arm_Model_Inverse(&arm, in.reference, &target, in.limit[0], result) == ARM_SOLVED)
            require(Arm_Model_Beyond_Limits(&arm, result) == 0, "a solution keeps the limits");
        float all[8][7];
        const int count =
            Arm_Model_Solutions(&arm, &target, all) + Arm_Model_Solutions_At(&arm, &target, in.limit[1], all);
        require(count >= 0 && count <= 8, "at most eight solutions");
        ARM_INTERVAL intervals[ARM_INTERVALS];
        require(Arm_Model_Angles(&arm, &target, intervals) <= ARM_INTERVALS, "intervals that fit");
    }
    Arm_Model_Dexterity(&arm, in.joint);
    Arm_Model_Clearance(&arm, in.joint);
}
