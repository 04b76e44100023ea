// The bodies of the arm, drawn around the axes of its joints, and the axes of frames. Lengths are metres.
import * as THREE from './three/build/three.module.js';
import { skeleton } from './skeleton.js';

const up = new THREE.Vector3(0, 1, 0); // the axis of three.js's cylinders and cones
const shortest = 0.02; // along an axis, for the arm to count as running along it

/** By what they are for; the view gives them their colours. */
export const materials = Object.fromEntries(
  ['shell', 'joint', 'seam', 'dark', 'object'].map((name) => [name, new THREE.MeshPhongMaterial({ shininess: 18 })]));

const ghost = new THREE.MeshPhongMaterial({ transparent: true, opacity: 0.25, depthWrite: false });

export function frameOf([x, y, z, qx, qy, qz, qw]) {
  const turn = new THREE.Quaternion(qx, qy, qz, qw);
  return new THREE.Matrix4().compose(new THREE.Vector3(x, y, z), turn, new THREE.Vector3(1, 1, 1));
}

function body(parent, geometry, material) {
  const mesh = new THREE.Mesh(geometry, materials[material]);
  mesh.name = material;
  mesh.castShadow = mesh.receiveShadow = true;
  parent.add(mesh);
  return mesh;
}

function cylinder(parent, from, to, r1, r2, material) {
  const way = to.clone().sub(from);
  const mesh = body(parent, new THREE.CylinderBufferGeometry(r2, r1, way.length(), 48), material);
  mesh.position.copy(from).addScaledVector(way, 0.5);
  mesh.quaternion.setFromUnitVectors(up, way.normalize());
}

function pedestal(parent, bone, r) {
  const at = (z) => bone.enter.clone().addScaledVector(bone.axis.direction, z);
  cylinder(parent, at(0), at(0.018), r * 1.7, r * 1.7, 'dark');
  cylinder(parent, at(0.018), bone.middle, r * 1.25, r * 1.02, 'shell');
}

const isStraight = (bone) => bone.enter.distanceTo(bone.leave) > shortest;

/** A drum about the axis where the arm bends, or a seam around the arm where it turns about itself. */
function housing(parent, bone, r) {
  const at = (s) => (isStraight(bone) ? bone.middle : bone.leave).clone().addScaledVector(bone.axis.direction, s);
  if (isStraight(bone)) return cylinder(parent, at(-0.007), at(0.007), r * 1.04, r * 1.04, 'seam');
  cylinder(parent, at(-r * 1.15), at(r * 1.15), r, r, 'joint');
  for (const side of [-1, 1]) {
    cylinder(parent, at(side * r * 1.15), at(side * r * 1.24), r, r, 'seam');
    cylinder(parent, at(side * r * 1.24), at(side * r * 1.36), r * 0.92, r * 0.86, 'shell');
  }
}

/** A tube through some points that grows thinner or thicker on its way. */
function tube(parent, points, from, to) {
  const lengths = points.slice(1).map((point, i) => point.distanceTo(points[i]));
  const total = lengths.reduce((sum, length) => sum + length, 0);
  const radius = (s) => from + ((to - from) * s) / total;
  let done = 0;
  lengths.forEach((length, i) => {
    if (length < 1e-4) return;
    const end = radius(done + length);
    cylinder(parent, points[i], points[i + 1], radius(done), end, 'shell');
    body(parent, new THREE.SphereBufferGeometry(end, 32, 24), 'shell').position.copy(points[i + 1]);
    done += length;
  });
}

/**
 * Builds the arm into a group.
 * @returns the joints, each with its axis and the group that turns about it, and the flange
 */
export function buildArm(parent, { hinges, flange }) {
  const rest = frameOf(flange);
  const bones = skeleton(hinges, new THREE.Vector3().setFromMatrixPosition(rest));
  const radius = (i) => 0.058 - (0.026 * Math.min(i, bones.length - 1)) / (bones.length - 1);
  pedestal(parent, bones[0], radius(0));

  // Every link hangs in a group that turns about the joint's axis; inside, all is where it is at zero angles.
  let link = parent;
  const joints = bones.map((bone, i) => {
    const turning = new THREE.Group();
    const inside = new THREE.Group();
    turning.position.copy(bone.axis.point);
    inside.position.copy(bone.axis.point).negate();
    turning.add(inside);
    link.add(turning);
    link = inside;

    housing(inside, bone, radius(i));
    const next = bones[i + 1];
    const way = [isStraight(bone) ? bone.middle : bone.leave, bone.leave];
    if (next) way.push(next.enter, isStraight(next) ? next.middle : next.enter);
    tube(inside, way, radius(i) * 0.8, radius(i + 1) * 0.8);
    return { axis: bone.axis.direction, turning };
  });

  const end = new THREE.Group();
  end.applyMatrix(rest);
  link.add(end);
  return { joints, flange: end };
}

/** From the flange to the tips of the fingers. */
export const gripperLength = 0.108;

/** Its fingers open along x; between them the object, as wide as it is scaled. */
export function buildGripper(flange) {
  const group = new THREE.Group();
  flange.add(group);
  const box = (x, y, z, height, material) => {
    const mesh = body(group, new THREE.BoxBufferGeometry(x, y, z), material);
    mesh.position.z = height;
    return mesh;
  };
  const plate = body(group, new THREE.CylinderBufferGeometry(0.034, 0.034, 0.012, 48), 'seam');
  plate.rotation.x = Math.PI / 2;
  plate.position.z = 0.006;
  box(0.128, 0.036, 0.034, 0.029, 'dark');
  const fingers = [0, 1].map(() => box(0.012, 0.024, 0.062, 0.077, 'joint'));
  const parts = group.children.slice();
  const object = box(1, 0.04, 0.05, 0.095, 'object');
  return {
    group,
    /** Lengths in mm; no object is null.
     * @param unreckoned the active tool is shorter, so that what the arm touches is found without the fingers */
    show(opening, width, unreckoned) {
      for (const mesh of parts) mesh.material = unreckoned ? ghost : materials[mesh.name];
      fingers.forEach((finger, i) => (finger.position.x = (i ? 1 : -1) * (opening / 2000 + 0.006)));
      object.visible = width !== null;
      object.scale.x = (width ?? 1) / 1000;
    },
  };
}

/** Three arrows that are seen through everything; their materials are called axisx, axisy and axisz. */
export function buildAxes(length) {
  const axes = new THREE.Group();
  for (const name of ['x', 'y', 'z']) {
    const direction = new THREE.Vector3();
    direction[name] = 1;
    const end = direction.clone().multiplyScalar(length);
    const look = { name: 'axis' + name, depthTest: false, transparent: true };
    const line = new THREE.Line(new THREE.BufferGeometry().setFromPoints([new THREE.Vector3(), end]),
                                new THREE.LineBasicMaterial(look));
    const head = new THREE.Mesh(new THREE.ConeBufferGeometry(length * 0.045, length * 0.16, 20),
                                new THREE.MeshBasicMaterial(look));
    head.position.copy(end);
    head.quaternion.setFromUnitVectors(up, direction);
    line.renderOrder = head.renderOrder = 2;
    axes.add(line, head);
  }
  return axes;
}
