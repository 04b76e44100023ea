// What the arm's view says beside the arm: where it is sent and on which way, which joints want attention, which axis is which.
import * as THREE from './three/build/three.module.js';
import { buildArm } from './bodies.js';

const nearLimit = 2; // degrees
const letterHeight = 0.05; // m

/** A text that faces whoever looks, in a colour and with an edge of the background's, so that it is read on anything. */
export class Label extends THREE.Sprite {
  #text;
  #paper = Object.assign(document.createElement('canvas'), { width: 256, height: 64 }).getContext('2d');

  /** @param colour what it is called */
  constructor(text, colour, height = letterHeight) {
    super(new THREE.SpriteMaterial({ depthTest: false, transparent: true, blending: THREE.CustomBlending,
                                     blendSrc: THREE.OneFactor, blendDst: THREE.OneMinusSrcAlphaFactor }));
    this.#text = text;
    this.colour = colour;
    this.scale.set(4 * height, height, 1);
    this.renderOrder = 3;
    this.material.map = Object.assign(new THREE.CanvasTexture(this.#paper.canvas), { premultiplyAlpha: true });
  }

  paint(colour, background) {
    const paper = this.#paper;
    paper.clearRect(0, 0, 256, 64);
    Object.assign(paper, { font: '40px B612, sans-serif', textAlign: 'center', textBaseline: 'middle', lineJoin: 'round',
                           lineWidth: 10, fillStyle: colour.getStyle(), strokeStyle: background.getStyle() });
    paper.strokeText(this.#text, 128, 34);
    paper.fillText(this.#text, 128, 34);
    this.material.map.needsUpdate = true;
  }
}

/** Letters at the ends of axes, and what they are of. */
export function nameAxes(axes, length, name, place = [-0.05, -0.05, -0.02]) {
  for (const letter of ['x', 'y', 'z']) {
    const end = new Label(letter, `axis${letter}`);
    end.position[letter] = length * 1.25;
    axes.add(end);
  }
  const title = new Label(name, 'soft');
  title.position.set(...place);
  axes.add(title);
}

/** Lengths along the base's x and y axis on the floor. */
export function buildScale() {
  const scale = new THREE.Group();
  for (const axis of ['x', 'y'])
    for (const length of [-1, -0.5, 0.5, 1]) {
      const mark = new Label(`${length} m`.replace('-', '\u2212'), 'soft');
      mark.position[axis] = length;
      scale.add(mark);
    }
  return scale;
}

/** The arm as it will stand, and the way of its tool. */
export class Ghost {
  group = new THREE.Group();
  #material = new THREE.MeshBasicMaterial({ transparent: true, opacity: 0.14, depthWrite: false });
  #line = new THREE.Line(new THREE.BufferGeometry(), new THREE.LineDashedMaterial({ dashSize: 0.012, gapSize: 0.008 }));
  #arm = new THREE.Group();
  #joints;
  #told = '';

  constructor(about) {
    this.#joints = buildArm(this.#arm, about).joints;
    this.#arm.traverse((part) => part.isMesh && Object.assign(part, { material: this.#material, castShadow: false, receiveShadow: false }));
    this.#material.name = this.#line.material.name = 'accent';
    this.#line.frustumCulled = false;
    this.group.add(this.#arm, this.#line);
  }

  show({ planned, joints }) {
    this.#arm.visible = planned !== null && planned.joints.some((angle, i) => Math.abs(angle - joints[i]) > 0.5);
    this.#line.visible = planned !== null && planned.path.length > 0;
    const told = JSON.stringify(planned);
    if (!planned || told === this.#told) return;
    this.#told = told;
    turn(this.#joints, planned.joints);
    this.#line.geometry.dispose();
    this.#line.geometry = new THREE.BufferGeometry().setFromPoints(planned.path.map((place) => new THREE.Vector3(...place)));
    this.#line.computeLineDistances();
  }
}

export function turn(joints, angles) {
  angles.forEach((angle, i) =>
    joints[i].turning.quaternion.setFromAxisAngle(joints[i].axis, THREE.Math.degToRad(angle)));
}

export const tints = Object.fromEntries(['alarm', 'warning', 'off'].map((name) => {
  const material = new THREE.MeshPhongMaterial({ shininess: 18 });
  material.name = name;
  return [name, material];
}));

/** Colours joints that are in error, near a limit or without power. */
export function tint(joints, { jointErrors, limits, joints: angles, power }, materials) {
  joints.forEach(({ turning }, i) => {
    const [low, high] = limits[i];
    const why = jointErrors[i] ? 'alarm' : Math.min(angles[i] - low, high - angles[i]) < nearLimit ? 'warning'
      : power ? null : 'off';
    for (const part of turning.children[0].children)
      if (part.isMesh && ['joint', 'seam'].includes(part.name)) part.material = why ? tints[why] : materials[part.name];
  });
}
