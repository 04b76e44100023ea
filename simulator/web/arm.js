// The arm in space: bodies around the axes of its joints, frames, trail, gripper, the operator's hand.
import * as THREE from './three/build/three.module.js';
import { OrbitControls } from './three/examples/jsm/controls/OrbitControls.js';
import { skeleton } from './skeleton.js';

const trailLength = 1500; // points
const trailStep = 0.002; // m between two of them
const hand = { reach: 70, interval: 50 }; // px around the tool that it takes hold of; ms between two places
const views = { corner: [1.35, -1.2, 0.55], front: [1.9, 0, 0.1], side: [0, -1.9, 0.1], top: [0.001, 0, 2] };
const centre = [0, 0, 0.42];

const frameOf = ([x, y, z, qx, qy, qz, qw]) =>
  new THREE.Matrix4().compose(new THREE.Vector3(x, y, z), new THREE.Quaternion(qx, qy, qz, qw), new THREE.Vector3(1, 1, 1));

export class ArmView {
  #scene = new THREE.Scene();
  #camera = new THREE.PerspectiveCamera(32, 1, 0.05, 30);
  #renderer = new THREE.WebGLRenderer({ antialias: true });
  #joints = [];
  #arm = new THREE.Group();
  #colours = {};
  #shown = '';
  #wanted = false;
  #lead = null;

  /** @param lead called with the place to which the operator's hand leads the tool, metres */
  constructor(element, lead) {
    this.element = element;
    this.#lead = lead;
    element.prepend(this.#renderer.domElement);
    this.#renderer.setPixelRatio(Math.min(devicePixelRatio, 2));
    this.#renderer.shadowMap.enabled = true;
    this.#renderer.shadowMap.type = THREE.PCFSoftShadowMap;
    this.#camera.up.set(0, 0, 1);
    this.orbit = new OrbitControls(this.#camera, this.#renderer.domElement);
    this.orbit.minDistance = 0.4;
    this.orbit.maxDistance = 6;
    this.orbit.addEventListener('change', () => this.#draw());
    this.#furnish();
    this.view('corner');
    this.#followHand();
    matchMedia('(prefers-color-scheme: dark)').addEventListener('change', () => this.#paint());
    new ResizeObserver(() => this.#resize()).observe(element);
  }

  view(name) {
    this.orbit.target.set(...centre);
    this.#camera.position.set(...views[name]).multiplyScalar(1.25).add(this.orbit.target);
    this.orbit.update();
    this.#draw();
  }

  clearTrail() {
    this.trail.count = 0;
    this.trail.line.geometry.setDrawRange(0, 0);
    this.#draw();
  }

  /** Builds the arm. */
  build({ hinges, flange, simulated }) {
    this.#arm.remove(...this.#arm.children);
    const restFlange = frameOf(flange);
    const bones = skeleton(hinges, new THREE.Vector3().setFromMatrixPosition(restFlange));
    const radius = (i) => 0.058 - (0.026 * i) / (bones.length - 1);

    // Every link hangs in a group that turns about the joint's axis; inside it, all is where it is at zero angles.
    let link = this.#arm;
    this.#pedestal(link, bones[0], radius(0));
    this.#joints = bones.map(({ axis }) => {
      const turning = new THREE.Group();
      turning.position.copy(axis.point);
      const inside = new THREE.Group();
      inside.position.copy(axis.point).negate();
      turning.add(inside);
      link.add(turning);
      link = inside;
      return { axis: axis.direction, turning, inside };
    });

    bones.forEach((bone, i) => {
      const next = bones[i + 1];
      const inside = this.#joints[i].inside;
      const straight = bone.enter.distanceTo(bone.leave) > 0.02; // the arm runs along this axis
      this.#housing(this.#joints[i].inside, bone, radius(i), straight);
      const way = [straight ? bone.middle : bone.leave, bone.leave];
      if (next) way.push(next.enter, next.enter.distanceTo(next.leave) > 0.02 ? next.middle : next.enter);
      this.#tube(inside, way, radius(i) * 0.8, radius(i + 1) * 0.8);
    });

    this.flange = new THREE.Group();
    this.flange.applyMatrix(restFlange);
    this.#joints[this.#joints.length - 1].inside.add(this.flange);
    this.#gripper().visible = simulated; // else nobody knows how it stands
    this.tool = this.#axes(0.12);
    this.flange.add(this.tool);
    this.#shown = '';
    this.#paint();
  }

  show(state) {
    // What is drawn, to draw nothing again that stands.
    const shown = JSON.stringify([state.joints, state.tool, state.work, state.gripper.opening, state.object, state.push,
                                  state.table, state.power, state.jointErrors, state.teaching]);
    if (shown === this.#shown || !this.#joints.length) return;
    this.#shown = shown;
    state.joints.forEach((angle, i) =>
      this.#joints[i].turning.quaternion.setFromAxisAngle(this.#joints[i].axis, (angle * Math.PI) / 180));
    this.#place(this.tool, state.tool);
    this.#place(this.work, state.work);
    this.work.visible = state.work.some((value, i) => i < 6 && value !== 0);
    this.fingers.forEach((finger, side) => (finger.position.x = (side ? 1 : -1) * (state.gripper.opening / 2000 + 0.006)));
    this.object.visible = state.object !== null;
    if (state.object) this.object.scale.x = state.object.width / 1000;
    this.table.visible = state.table !== null;
    this.table.position.z = state.table ?? 0;
    this.#arm.updateMatrixWorld(true);

    this.leading = state.teaching;
    this.tip = new THREE.Vector3().setFromMatrixPosition(this.tool.matrixWorld);
    const end = new THREE.Vector3().setFromMatrixPosition(this.flange.matrixWorld);
    this.#renderer.domElement.setAttribute('aria-label',
      'Arm with its flange at ' + end.toArray().map((value) => value.toFixed(4)).join(' ') + ' m');
    const push = new THREE.Vector3(...state.push);
    this.push.visible = push.length() > 0;
    if (this.push.visible) {
      const length = 0.12 + push.length() / 1000;
      this.push.setDirection(push.clone().normalize());
      this.push.setLength(length, 0.06, 0.035);
      this.push.position.copy(end).addScaledVector(push.normalize(), -length);
    }
    this.handle.visible = state.teaching;
    this.handle.position.copy(this.tip);
    this.#lengthenTrail(this.tip);
    this.#draw();
  }

  #place(object, frame) {
    object.position.set(...frame.slice(0, 3));
    object.quaternion.set(...frame.slice(3));
  }

  // Bodies. Their colours are set by #paint(), by the name of the material.

  #materials = Object.fromEntries(['shell', 'joint', 'seam', 'dark', 'object'].map((name) => [name, new THREE.MeshPhongMaterial({ shininess: 18 })]));

  #add(parent, geometry, material) {
    const mesh = new THREE.Mesh(geometry, this.#materials[material]);
    mesh.castShadow = mesh.receiveShadow = true;
    parent.add(mesh);
    return mesh;
  }

  /** A cylinder about a line. */
  #cylinder(parent, from, to, r1, r2, material) {
    const way = to.clone().sub(from);
    const mesh = this.#add(parent, new THREE.CylinderBufferGeometry(r2, r1, way.length(), 48), material);
    mesh.position.copy(from).addScaledVector(way, 0.5);
    mesh.quaternion.setFromUnitVectors(new THREE.Vector3(0, 1, 0), way.normalize());
    return mesh;
  }

  #pedestal(parent, bone, r) {
    const up = (z) => bone.enter.clone().addScaledVector(bone.axis.direction, z);
    this.#cylinder(parent, up(0), up(0.018), r * 1.7, r * 1.7, 'dark');
    this.#cylinder(parent, up(0.018), bone.middle, r * 1.25, r * 1.02, 'shell');
  }

  /** A drum about the joint's axis where the arm bends, or a seam around the arm where it turns about itself. */
  #housing(parent, { axis, middle, leave }, r, straight) {
    const at = (s) => (straight ? middle : leave).clone().addScaledVector(axis.direction, s);
    if (straight) return this.#cylinder(parent, at(-0.007), at(0.007), r * 1.04, r * 1.04, 'seam');
    this.#cylinder(parent, at(-r * 1.15), at(r * 1.15), r, r, 'joint');
    for (const side of [-1, 1]) {
      this.#cylinder(parent, at(side * r * 1.15), at(side * r * 1.24), r, r, 'seam');
      this.#cylinder(parent, at(side * r * 1.24), at(side * r * 1.36), r * 0.92, r * 0.86, 'shell');
    }
  }

  #tube(parent, way, from, to) {
    const lengths = way.slice(1).map((point, i) => point.distanceTo(way[i]));
    const total = lengths.reduce((sum, length) => sum + length, 0);
    let done = 0;
    lengths.forEach((length, i) => {
      const r = (s) => from + ((to - from) * s) / total;
      if (length > 1e-4) {
        this.#cylinder(parent, way[i], way[i + 1], r(done), r(done + length), 'shell');
        this.#add(parent, new THREE.SphereBufferGeometry(r(done + length), 32, 24), 'shell').position.copy(way[i + 1]);
      }
      done += length;
    });
  }

  #gripper() {
    const gripper = new THREE.Group();
    this.flange.add(gripper);
    const box = (x, y, z, material) => this.#add(gripper, new THREE.BoxBufferGeometry(x, y, z), material);
    const plate = this.#add(gripper, new THREE.CylinderBufferGeometry(0.034, 0.034, 0.012, 48), 'seam');
    plate.rotation.x = Math.PI / 2;
    plate.position.z = 0.006;
    box(0.128, 0.036, 0.034, 'dark').position.z = 0.029;
    this.fingers = [0, 1].map(() => {
      const finger = box(0.012, 0.024, 0.062, 'joint');
      finger.position.z = 0.077;
      return finger;
    });
    this.object = box(1, 0.04, 0.05, 'object');
    this.object.position.z = 0.095;
    this.object.visible = false;
    return gripper;
  }

  // Furniture of the room.

  #axes(length) {
    const axes = new THREE.Group();
    [[1, 0, 0], [0, 1, 0], [0, 0, 1]].forEach((direction, i) => {
      const material = new THREE.LineBasicMaterial({ depthTest: false, transparent: true });
      material.name = 'axis' + 'xyz'[i];
      const geometry = new THREE.BufferGeometry().setFromPoints([new THREE.Vector3(), new THREE.Vector3(...direction).multiplyScalar(length)]);
      const line = new THREE.Line(geometry, material);
      line.renderOrder = 2;
      const head = new THREE.Mesh(new THREE.ConeBufferGeometry(length * 0.045, length * 0.16, 20), new THREE.MeshBasicMaterial({ depthTest: false, transparent: true }));
      head.material.name = material.name;
      head.renderOrder = 2;
      head.position.set(...direction).multiplyScalar(length);
      head.quaternion.setFromUnitVectors(new THREE.Vector3(0, 1, 0), new THREE.Vector3(...direction));
      axes.add(line, head);
    });
    return axes;
  }

  #furnish() {
    this.sky = new THREE.HemisphereLight();
    this.sun = new THREE.DirectionalLight(0xffffff, 0.55);
    this.sun.position.set(1.2, -0.9, 2.6);
    this.sun.castShadow = true;
    this.sun.shadow.mapSize.set(2048, 2048);
    this.sun.shadow.radius = 3;
    this.sun.shadow.bias = -0.0008;
    Object.assign(this.sun.shadow.camera, { left: -1.4, right: 1.4, top: 1.4, bottom: -1.4, near: 0.5, far: 6 });
    this.floor = new THREE.Mesh(new THREE.PlaneBufferGeometry(4, 4), new THREE.ShadowMaterial());
    this.floor.receiveShadow = true;
    this.floor.position.z = -0.001;
    this.table = new THREE.Mesh(new THREE.PlaneBufferGeometry(1.2, 1.2),
      new THREE.MeshBasicMaterial({ transparent: true, opacity: 0.16, side: THREE.DoubleSide, depthWrite: false }));
    this.table.visible = false;
    this.push = new THREE.ArrowHelper(new THREE.Vector3(1, 0, 0), new THREE.Vector3(), 0.2);
    this.push.visible = false;
    for (const part of [this.push.line, this.push.cone]) {
      part.material.depthTest = false; // it is seen through what it pushes
      part.material.transparent = true;
      part.renderOrder = 2;
    }
    this.handle = new THREE.Mesh(new THREE.SphereBufferGeometry(0.022, 32, 24),
      new THREE.MeshBasicMaterial({ transparent: true, opacity: 0.7, depthTest: false }));
    this.handle.visible = false;
    this.base = this.#axes(0.2);
    this.work = this.#axes(0.15);
    this.work.visible = false;

    const geometry = new THREE.BufferGeometry();
    geometry.setAttribute('position', new THREE.BufferAttribute(new Float32Array(trailLength * 3), 3));
    geometry.setDrawRange(0, 0);
    this.trail = { line: new THREE.Line(geometry, new THREE.LineBasicMaterial()), count: 0, last: new THREE.Vector3() };
    this.trail.line.frustumCulled = false;
    this.#scene.add(this.sky, this.sun, this.floor, this.table, this.push, this.handle, this.base, this.work, this.trail.line, this.#arm);
  }

  #lengthenTrail(tip) {
    const { line, last } = this.trail;
    if (this.trail.count && last.distanceTo(tip) < trailStep) return;
    const places = line.geometry.attributes.position;
    if (this.trail.count === trailLength) places.array.copyWithin(0, 3);
    else this.trail.count++;
    places.setXYZ(this.trail.count - 1, tip.x, tip.y, tip.z);
    places.needsUpdate = true;
    line.geometry.setDrawRange(0, this.trail.count);
    last.copy(tip);
  }

  #paint() {
    const style = getComputedStyle(document.documentElement);
    const colour = (name) => new THREE.Color(style.getPropertyValue('--3d-' + name).trim());
    this.#scene.background = colour('background');
    for (const [name, material] of Object.entries(this.#materials)) {
      material.color = colour(name);
      material.specular = new THREE.Color(0x181818);
    }
    this.sky.color = colour('sky');
    this.sky.groundColor = colour('ground');
    this.floor.material.opacity = Number(style.getPropertyValue('--3d-shadow'));
    this.table.material.color = colour('joint');
    this.trail.line.material.color = this.handle.material.color = colour('accent');
    this.push.setColor(colour('accent'));
    this.#scene.traverse(({ material }) => material?.name?.startsWith('axis') && material.color.copy(colour(material.name)));
    this.#scene.remove(this.grid);
    this.grid = new THREE.GridHelper(3, 30, colour('axis'), colour('grid'));
    this.grid.rotation.x = Math.PI / 2;
    this.grid.position.z = -0.002;
    this.#scene.add(this.grid);
    this.#draw();
  }

  /** Where the pointer takes hold of the tool while the arm may be led, the hand leads it in the plane of the screen. */
  #followHand() {
    const canvas = this.#renderer.domElement;
    const plane = new THREE.Plane();
    const ray = new THREE.Raycaster();
    let pointer = null;
    let sent = 0;
    const onScreen = (point) => {
      const { x, y } = point.clone().project(this.#camera);
      return [((x + 1) / 2) * canvas.clientWidth, ((1 - y) / 2) * canvas.clientHeight];
    };
    const grab = (event) => {
      if (!this.leading || !this.tip) return;
      const [x, y] = onScreen(this.tip);
      if (Math.hypot(event.offsetX - x, event.offsetY - y) > hand.reach) return;
      event.stopImmediatePropagation();
      pointer = event.pointerId;
      canvas.setPointerCapture(pointer);
      this.orbit.enabled = false;
      plane.setFromNormalAndCoplanarPoint(this.#camera.getWorldDirection(new THREE.Vector3()), this.tip);
    };
    const drag = (event) => {
      if (event.pointerId !== pointer || performance.now() - sent < hand.interval) return;
      sent = performance.now();
      const place = { x: (event.offsetX / canvas.clientWidth) * 2 - 1, y: 1 - (event.offsetY / canvas.clientHeight) * 2 };
      ray.setFromCamera(place, this.#camera);
      const to = ray.ray.intersectPlane(plane, new THREE.Vector3());
      if (to) this.#lead(to.toArray());
    };
    const letGo = (event) => {
      if (event.pointerId !== pointer) return;
      pointer = null;
      this.orbit.enabled = true;
    };
    canvas.setAttribute('role', 'img');
    canvas.addEventListener('pointerdown', grab, true);
    canvas.addEventListener('pointermove', drag);
    canvas.addEventListener('pointerup', letGo);
    canvas.addEventListener('pointercancel', letGo);
  }

  #resize() {
    const { clientWidth, clientHeight } = this.element;
    if (!clientWidth || !clientHeight) return;
    this.#renderer.setSize(clientWidth, clientHeight);
    this.#camera.aspect = clientWidth / clientHeight;
    this.#camera.updateProjectionMatrix();
    this.#draw();
  }

  #draw() {
    if (this.#wanted) return;
    this.#wanted = true;
    requestAnimationFrame(() => {
      this.#wanted = false;
      this.#renderer.render(this.#scene, this.#camera);
    });
  }
}
