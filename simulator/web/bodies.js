// The bodies of the arm and of its gripper, and the axes of frames. Lengths are metres.
import * as THREE from './three/build/three.module.js';

const up = new THREE.Vector3(0, 1, 0); // the axis of three.js's cylinders and cones

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

function cylinder(parent, from, to, [r1, r2], material) {
  const way = to.clone().sub(from);
  const mesh = body(parent, new THREE.CylinderBufferGeometry(r2, r1, way.length(), 48), material);
  mesh.position.copy(from).addScaledVector(way, 0.5);
  mesh.quaternion.setFromUnitVectors(up, way.normalize());
}

/**
 * Builds the arm into a group.
 * @returns the joints, each with its axis and the group that turns about it, and the flange
 */
export function buildArm(parent, { hinges, flange, bodies }) {
  // Every link hangs in a group that turns about the joint's axis; inside, all is where it is at zero angles.
  const links = [parent];
  const joints = hinges.map(({ point, direction }) => {
    const turning = new THREE.Group();
    const inside = new THREE.Group();
    turning.position.set(...point);
    inside.position.set(...point).negate();
    turning.add(inside);
    links[links.length - 1].add(turning);
    links.push(inside);
    return { axis: new THREE.Vector3(...direction), turning };
  });
  for (const { link, surface, ends, radii } of bodies) {
    const [from, to] = ends.map((end) => new THREE.Vector3(...end));
    if (from.distanceTo(to) > 0) cylinder(links[link], from, to, radii, surface);
    else body(links[link], new THREE.SphereBufferGeometry(radii[0], 32, 24), surface).position.copy(from);
  }

  const end = new THREE.Group();
  end.applyMatrix(frameOf(flange));
  links[links.length - 1].add(end);
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
