// Waypoints as a program that an application can begin with.

const list = (values) => values.join(', ');

const languages = {
  cpp: ({ host, port, model, percent, places }) => {
    const moves = places.map(({ joints, pose, line }) => joints
      ? `    arm.move_joints(kx::Degrees{${list(joints)}}, pace).wait();`
      : `    arm.move_${line ? 'line' : 'to'}(kx::Pose::mm_deg(${list(pose)}), pace).wait();`);
    return ['#include "kx/arm.hpp"', '', 'int main()', '{', `    kx::Arm arm("${host}", ${port}, ${model});`,
            `    const kx::Pace pace{.speed_percent = ${percent}};`, ...moves, '}', ''];
  },
  py: ({ host, port, model, percent, places }) => {
    const moves = places.map(({ joints, pose, line }) => joints
      ? `    arm.move_joints(joints_deg=[${list(joints)}], speed_percent=${percent}).wait()`
      : `    arm.move_${line ? 'line' : 'to'}(kx.Pose.mm_deg(${list(pose)}), speed_percent=${percent}).wait()`);
    return ['import kx', '', `with kx.Arm("${host}", ${port}, model=${model}) as arm:`, ...moves, ''];
  },
};

/** @param places where the arm goes: joint angles, or poses in the frames that are active when it runs */
export const program = (language, work) => languages[language](work).join('\n');
