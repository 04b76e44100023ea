// The kinematics of any bytes as numbers: flat functions and arm models return, write what they say, and find
// solutions that keep the limits; batches what single calls find.
#include "kx/arm_model.h"
#include "kx_base.h"

#include "target.h"

#include <algorithm>
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
    const float* const from[] = {in.reference, in.joint, in.reference};
    const KinPose targets[] = {Arm_Model_Pose(&arm, in.joint), in.target, Arm_Model_Pose(&arm, in.reference)};
    float references[3 * 7], results[3 * 7] = {}, alone[3 * 7] = {};
    int codes[3];
    for (int n = 0; n < 3; ++n)
        std::copy_n(from[n], arm.joints, references + n * arm.joints);
    Arm_Model_Inverses(&arm, 3, references, targets, in.limit[0], results, codes, 1);
    for (int n = 0; n < 3; ++n)
        require(Arm_Model_Inverse(&arm, from[n], &targets[n], in.limit[0], alone + n * arm.joints) ==
                    codes[n],
                "a batch has the codes of single calls");
    require(std::memcmp(results, alone, sizeof alone) == 0, "and their bits");
    Arm_Model_Dexterity(&arm, in.joint);
    Arm_Model_Clearance(&arm, in.joint);
}
