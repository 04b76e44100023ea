// Which reply is this? A reply is recognised by a text found anywhere in it, not by parsing.
#ifndef KX_RUNTIME_RECOGNITION_H
#define KX_RUNTIME_RECOGNITION_H

namespace kx {

// What the request is that a kind of reply answers. A link sends stops ahead of all that waits, takes motions
// back when a stop comes, and repeats settings, and nothing else, on a new connection.
enum class Nature {
    question, // changes nothing
    setting,  // says how the controller shall work
    action,   // does something once
    motion,   // makes something move
    stop,     // ends or suspends motion
    push,     // a streamed target; the reply may also come by itself
};

// All kinds of replies: the text that tells the kind, which is its name too; its code, which is the
// interface's own, with gaps; and the nature of its request. They are tried in this order, and the first text
// found decides: a text that contains another stands before it. The one exception, set_tool_DO_state behind
// DO_state, is part of the interface: such replies are taken for DO_state. The last row is awaited by
// Stop_Waypoint, but not looked for.
// clang-format off
#define KX_KINDS_OF_REPLY(KIND) \
    KIND(set_joint_max_speed, 2, setting)          \
    KIND(joint_max_speed, 1, question)             \
    KIND(joint_zero_pos, 7, action)                \
    KIND(set_joint_max_acc, 3, setting)            \
    KIND(set_joint_min_pos, 4, setting)            \
    KIND(set_joint_max_pos, 5, setting)            \
    KIND(set_joint_en_state, 6, action)            \
    KIND(set_joint_clear_err, 8, action)           \
    KIND(start_calibrate, 9, motion)               \
    KIND(stop_calibrate, 10, stop)                 \
    KIND(calibrate_state, 11, question)            \
    KIND(joint_max_acc, 12, question)              \
    KIND(joint_min_pos, 13, question)              \
    KIND(joint_max_pos, 14, question)              \
    KIND(joint_en_state, 15, question)             \
    KIND(joint_err_flag, 16, question)             \
    KIND(joint_software_version, 17, question)     \
    KIND(set_arm_max_line_speed, 19, setting)      \
    KIND(set_arm_max_line_acc, 20, setting)        \
    KIND(set_arm_max_angular_speed, 21, setting)   \
    KIND(set_arm_max_angular_acc, 22, setting)     \
    KIND(arm_max_line_speed, 23, question)         \
    KIND(arm_max_line_acc, 24, question)           \
    KIND(arm_max_angular_speed, 25, question)      \
    KIND(arm_max_angular_acc, 26, question)        \
    KIND(set_arm_init, 27, setting)                \
    KIND(get_collision_stage, 29, question)        \
    KIND(set_DH_data, 30, setting)                 \
    KIND(DH_data, 31, question)                    \
    KIND(set_joint_zero_offset, 32, setting)       \
    KIND(set_arm_dynamic_parm, 33, setting)        \
    KIND(tool_software_version, 34, question)      \
    KIND(set_arm_servo, 35, action)                \
    KIND(set_system_state_servo, 36, action)       \
    KIND(set_auto_tool_frame, 37, action)          \
    KIND(generate_auto_tool_frame, 38, action)     \
    KIND(set_manual_tool_frame, 39, setting)       \
    KIND(set_change_tool_frame, 40, setting)       \
    KIND(set_delete_tool_frame, 41, setting)       \
    KIND(set_payload, 42, setting)                 \
    KIND(set_none_payload, 43, setting)            \
    KIND(current_tool_frame, 44, question)         \
    KIND(given_tool_frame, 45, question)           \
    KIND(total_tool_frame, 46, question)           \
    KIND(set_auto_work_frame, 47, action)          \
    KIND(set_maual_work_frame, 48, setting)        \
    KIND(set_change_work_frame, 49, setting)       \
    KIND(set_delete_work_frame, 50, setting)       \
    KIND(current_work_frame, 51, question)         \
    KIND(given_work_frame, 52, question)           \
    KIND(total_work_frame, 53, question)           \
    KIND(current_arm_state, 54, question)          \
    KIND(current_joint_current, 56, question)      \
    KIND(current_joint_voltage, 57, question)      \
    KIND(joint_voltage, 58, question)              \
    KIND(arm_all_state, 59, question)              \
    KIND(arm_plan_num, 60, question)               \
    KIND(set_init_pose, 61, setting)               \
    KIND(init_pose, 62, question)                  \
    KIND(set_install_pose, 63, setting)            \
    KIND(current_trajectory_state, 64, motion)     \
    KIND(joint_state, 65, push)                    \
    KIND(pose_state, 66, push)                     \
    KIND(set_arm_stop, 67, stop)                   \
    KIND(set_arm_pause, 68, stop)                  \
    KIND(set_delete_current_trajectory, 70, stop)  \
    KIND(set_arm_delete_trajectory, 71, stop)      \
    KIND(arm_current_trajectory, 72, question)     \
    KIND(add_waypoint, 73, action)                 \
    KIND(start_waypoint, 74, motion)               \
    KIND(clear_waypoint, 75, action)               \
    KIND(timer, 77, action)                        \
    KIND(set_joint_teach, 78, motion)              \
    KIND(set_pos_teach, 79, motion)                \
    KIND(set_ort_teach, 80, motion)                \
    KIND(set_stop_teach, 81, stop)                 \
    KIND(set_joint_step, 82, motion)               \
    KIND(set_pos_step, 83, motion)                 \
    KIND(set_ort_step, 84, motion)                 \
    KIND(controller_state, 85, question)           \
    KIND(set_arm_power, 86, action)                \
    KIND(arm_power_state, 87, question)            \
    KIND(clear_system_err, 88, action)             \
    KIND(arm_hardware_version, 89, question)       \
    KIND(arm_software_version, 90, question)       \
    KIND(get_log_file, 91, action)                 \
    KIND(get_system_runtime, 92, question)         \
    KIND(clear_system_runtime, 93, action)         \
    KIND(get_joint_odom, 94, question)             \
    KIND(clear_joint_odom, 95, action)             \
    KIND(set_high_speed_eth, 96, setting)          \
    KIND(set_DO_state, 97, action)                 \
    KIND(set_AO_state, 98, action)                 \
    KIND(DO_state, 100, question)                  \
    KIND(DI_state, 101, question)                  \
    KIND(AO_state, 102, question)                  \
    KIND(AI_state, 103, question)                  \
    KIND(IO_input_state, 104, question)            \
    KIND(IO_output_state, 105, question)           \
    KIND(set_tool_DO_state, 106, action)           \
    KIND(set_tool_IO_mode, 107, setting)           \
    KIND(tool_IO_state, 108, question)             \
    KIND(set_tool_voltage, 109, setting)           \
    KIND(tool_voltage_state, 110, question)        \
    KIND(set_gripper_route, 111, setting)          \
    KIND(set_gripper, 112, motion)                 \
    KIND(start_drag_teach, 113, action)            \
    KIND(stop_drag_teach, 114, stop)               \
    KIND(run_drag_trajectory, 115, motion)         \
    KIND(pause_drag_trajectory, 116, stop)         \
    KIND(continue_drag_trajectory, 117, motion)    \
    KIND(stop_drag_trajectory, 118, stop)          \
    KIND(start_multi_drag_teach, 120, action)      \
    KIND(set_force_position, 121, motion)          \
    KIND(stop_force_positon, 122, stop)            \
    KIND(get_force_data, 123, question)            \
    KIND(clear_force_data, 124, action)            \
    KIND(stop_set_force_sensor, 126, stop)         \
    KIND(set_force_sensor, 125, motion)            \
    KIND(set_hand_posture, 127, motion)            \
    KIND(set_hand_seq, 128, motion)                \
    KIND(set_hand_angle, 129, motion)              \
    KIND(set_hand_speed, 130, setting)             \
    KIND(set_PWM, 132, action)                     \
    KIND(get_Fz, 133, question)                    \
    KIND(clear_Fz, 134, action)                    \
    KIND(auto_set_Fz, 135, motion)                 \
    KIND(manual_set_Fz, 136, motion)               \
    KIND(close_modbus_mode, 138, setting)          \
    KIND(coils_data, 139, question)                \
    KIND(input_status, 140, question)              \
    KIND(holding_registers, 141, question)         \
    KIND(input_registers, 142, question)           \
    KIND(write_single_coil, 143, action)           \
    KIND(write_coils, 144, action)                 \
    KIND(write_single_register, 145, action)       \
    KIND(write_registers, 146, action)             \
    KIND(set_vehicle, 147, motion)                 \
    KIND(set_lift_speed, 149, motion)              \
    KIND(set_lift_height, 150, motion)             \
    KIND(set_lift, 148, motion)                    \
    KIND(lift_state, 151, question)                \
    KIND(set_car_move, 152, motion)                \
    KIND(set_car_speed, 153, motion)               \
    KIND(set_car_navigation_speed, 154, setting)   \
    KIND(set_car_navigation_mode, 155, setting)    \
    KIND(get_car_state, 156, question)             \
    KIND(set_car_charge, 157, motion)              \
    KIND(set_car_station_num, 158, motion)         \
    KIND(set_collision_state, 28, setting)         \
    KIND(current_joint_temperature, 55, question)  \
    KIND(joint_degree, 159, question)              \
    KIND(set_arm_continue, 69, motion)             \
    KIND(set_hand_force, 131, setting)             \
    KIND(set_modbus_mode, 137, setting)            \
    KIND(Start_Force_Position_Move, 160, motion)   \
    KIND(Force_Position_State, 161, push)          \
    KIND(Stop_Force_Position_Move, 162, stop)      \
    KIND(stop_waypoint, 76, stop)
// clang-format on

enum class KeyCode : int {
    none = 0, // no reply is expected, or none was recognised
#define KX_CODE(name, code, nature) name = code,
    KX_KINDS_OF_REPLY(KX_CODE)
#undef KX_CODE
};

Nature nature_of(KeyCode kind);

// The kind told by the first name of the list that occurs in a text; none if none does.
KeyCode find_kind(const char* text);

// The kind that has exactly this name, or none.
KeyCode kind_named(const char* name);

} // namespace kx

#endif
