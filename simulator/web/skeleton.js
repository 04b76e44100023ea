// The arm's bones, from nothing but the axes of its joints at zero angles: where the arm meets each axis, and
// where it leaves it for the next one along their common normal.
import { Vector3 } from './three/build/three.module.js';

const parallel = 1e-4; // sine of the angle between two axes that count as parallel

const along = (axis, s) => axis.direction.clone().multiplyScalar(s).add(axis.point);
const foot = (axis, p) => along(axis, p.clone().sub(axis.point).dot(axis.direction));

/** The feet of the common normal of two axes; for parallel ones the normal through a point. */
function normal(a, b, through) {
  const across = a.direction.clone().cross(b.direction);
  if (across.length() < parallel) {
    const from = foot(a, through);
    return [from, foot(b, from)];
  }
  const apart = b.point.clone().sub(a.point);
  const square = across.lengthSq();
  return [
    along(a, apart.clone().cross(b.direction).dot(across) / square),
    along(b, apart.clone().cross(a.direction).dot(across) / square),
  ];
}

/**
 * @param hinges point and direction of every joint's axis
 * @param flange where the arm ends
 * @returns for every joint: its axis, where the arm enters it, where it leaves it, and its middle
 */
export function skeleton(hinges, flange) {
  const axes = hinges.map(({ point, direction }) => ({
    point: new Vector3(...point),
    direction: new Vector3(...direction),
  }));
  const end = { point: flange, direction: axes[axes.length - 1].direction };
  let enter = foot(axes[0], new Vector3());
  return axes.map((axis, i) => {
    const [leave, next] = normal(axis, axes[i + 1] ?? end, enter);
    const bone = { axis, enter, leave, middle: enter.clone().add(leave).multiplyScalar(0.5) };
    if (i === axes.length - 1) bone.leave = foot(axis, flange);
    enter = next;
    return bone;
  });
}
