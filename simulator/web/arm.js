// The arm in its room: light, floor and frames, the trail of the tool, the camera.
import * as THREE from './three/build/three.module.js';
import { OrbitControls } from './three/examples/jsm/controls/OrbitControls.js';
import { buildArm, buildAxes, buildGripper, gripperLength, materials } from './bodies.js';
import { followHand } from './hand.js';
import { buildScale, Ghost, nameAxes, tint, tints, turn } from './marks.js';
import { soon } from './soon.js';
import { Trail } from './trail.js';

const keyTurn = 0.1; // rad by which a key turns the view
const slowFrame = 60; // ms; if frames take longer, shadows are left out
const centre = new THREE.Vector3(0, 0, 0.42); // of what is looked at
const views = { corner: [1.69, -1.5, 0.69], front: [2.38, 0, 0.13], side: [0, -2.38, 0.13], top: [0.001, 0, 2.5] };

export class ArmView {
  camera = new THREE.PerspectiveCamera(32, 1, 0.05, 30);
  ledTool = null; // where it is, while it may be led by hand
  #scene = new THREE.Scene();
  #renderer = new THREE.WebGLRenderer({ antialias: true });
  #arm = new THREE.Group();
  #joints = [];
  #ghost = null;
  #size = 1; // of the arm, compared with what the views are made for
  #shown = '';
  #draw = soon(() => this.#render());
  #slow = 0; // frames in a row

  /** @param lead called with the place to which the operator's hand leads the tool, metres */
  constructor(element, lead) {
    this.element = element;
    this.canvas = this.#renderer.domElement;
    this.canvas.setAttribute('role', 'img');
    this.canvas.tabIndex = 0;
    this.canvas.addEventListener('keydown', (event) => this.#turn(event));
    element.prepend(this.canvas);
    this.#renderer.setPixelRatio(Math.min(devicePixelRatio, 2));
    this.#renderer.shadowMap.enabled = true;
    this.#renderer.shadowMap.type = THREE.PCFSoftShadowMap;
    this.camera.up.set(0, 0, 1);
    this.orbit = new OrbitControls(this.camera, this.canvas);
    this.orbit.minDistance = 0.4;
    this.orbit.maxDistance = 6;
    this.orbit.enableKeys = false; // they would shift the arm out of sight
    this.orbit.addEventListener('change', () => this.#draw());
    followHand(this.canvas, this, lead);
    this.#furnish();
    this.view('corner');
    matchMedia('(prefers-color-scheme: dark)').addEventListener('change', () => this.#paint());
    new ResizeObserver(() => this.#resize()).observe(element);
  }

  view(name) {
    if (!views[name]) return;
    this.orbit.target.copy(centre).multiplyScalar(this.#size);
    this.camera.position.set(...views[name]).multiplyScalar(this.#size).add(this.orbit.target);
    this.orbit.update();
    this.#draw();
  }

  /** The view, by key. */
  #turn(event) {
    const turns = { ArrowLeft: [-1, 0, 1], ArrowRight: [1, 0, 1], ArrowUp: [0, -1, 1], ArrowDown: [0, 1, 1],
                    '+': [0, 0, 0.9], '-': [0, 0, 1 / 0.9] };
    if (!turns[event.key]) return;
    event.preventDefault();
    const [around, over, nearer] = turns[event.key];
    const away = this.camera.position.clone().sub(this.orbit.target);
    const { radius, theta, phi } = new THREE.Spherical().setFromCartesianCoords(away.y, away.z, away.x);
    const place = new THREE.Vector3().setFromSphericalCoords(
      radius * nearer, Math.min(3.1, Math.max(0.01, phi + over * keyTurn)), theta + around * keyTurn);
    this.camera.position.set(place.z, place.x, place.y).add(this.orbit.target);
    this.orbit.update();
    this.#draw();
  }

  /** What comes now does not continue what was seen last. */
  breakTrail() {
    this.trail.break();
  }

  clearTrail() {
    this.trail.clear();
    this.#draw();
  }

  build(about) {
    const { joints, flange } = buildArm(this.#arm, about);
    this.#joints = joints;
    this.flange = flange;
    this.gripper = buildGripper(flange);
    this.gripper.group.visible = about.simulated; // else nobody knows how it stands
    this.canvas.setAttribute('aria-label', `Arm ${about.model}; arrow keys turn the view, plus and minus bring it nearer or farther`);
    this.tool = buildAxes(0.12);
    nameAxes(this.tool, 0.12, 'tool');
    flange.add(this.tool);
    this.#ghost = new Ghost(about);
    this.#scene.add(this.#ghost.group);
    this.#size = new THREE.Vector3(...about.flange).length() / 0.85;
    this.view('corner');
    this.#paint();
  }

  /** @param time s, of the arm */
  show(state, time) {
    const { joints, tool, work, gripper, object, push, table, teaching, planned, jointErrors, limits, power } = state;
    const shown = JSON.stringify([joints, tool, work, gripper.opening, object, push, table, teaching, planned, jointErrors,
                                  limits, power]);
    if (shown === this.#shown || !this.flange) return; // all stands as it is drawn
    this.#shown = shown;

    turn(this.#joints, joints);
    tint(this.#joints, state, materials);
    this.#ghost.show(state);
    const place = (node, [x, y, z, ...turn]) => {
      node.position.set(x, y, z);
      node.quaternion.set(...turn);
    };
    place(this.tool, tool);
    place(this.work, work);
    this.work.visible = work.some((value, i) => i < 6 && value !== 0); // else it is the base
    this.gripper.show(gripper.opening, object && object.width, tool[2] < gripperLength);
    this.table.visible = table !== null;
    this.table.position.z = table ?? 0;
    this.#arm.updateMatrixWorld(true);

    const flange = new THREE.Vector3().setFromMatrixPosition(this.flange.matrixWorld);
    const tip = new THREE.Vector3().setFromMatrixPosition(this.tool.matrixWorld);
    const spoken = flange.toArray().map((value) => value.toFixed(4));
    this.canvas.dataset.flange = spoken.join(' ');
    this.#showPush(new THREE.Vector3(...push), flange);
    this.ledTool = teaching ? tip : null;
    this.handle.visible = teaching;
    this.handle.position.copy(tip);
    this.trail.lengthen(tip, time);
    this.#draw();
  }

  #showPush(force, at) {
    const newtons = force.length();
    this.push.visible = newtons > 0;
    if (newtons === 0) return;
    const length = 0.12 + newtons / 1000;
    force.normalize();
    this.push.setDirection(force);
    this.push.setLength(length, 0.06, 0.035);
    this.push.position.copy(at).addScaledVector(force, -length);
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
    const glass = { transparent: true, opacity: 0.16, side: THREE.DoubleSide, depthWrite: false };
    this.table = new THREE.Mesh(new THREE.PlaneBufferGeometry(1.2, 1.2), new THREE.MeshBasicMaterial(glass));
    this.table.visible = false;

    this.base = buildAxes(0.2);
    this.work = buildAxes(0.15);
    nameAxes(this.base, 0.2, 'base');
    nameAxes(this.work, 0.15, 'work');
    this.trail = new Trail();
    const through = { transparent: true, depthTest: false };
    this.handle = new THREE.Mesh(new THREE.SphereBufferGeometry(0.022, 32, 24),
                                 new THREE.MeshBasicMaterial({ ...through, opacity: 0.7 }));
    this.push = new THREE.ArrowHelper();
    for (const part of [this.push.line, this.push.cone]) {
      part.material.setValues(through);
      part.renderOrder = 2;
    }
    this.work.visible = this.handle.visible = this.push.visible = false;

    this.#scene.add(this.sky, this.sun, this.floor, this.table, this.base, this.work, this.handle, this.push,
                    this.trail.line, this.#arm, buildScale());
  }

  /** The colours stand in the style sheet. */
  #paint() {
    const style = getComputedStyle(document.documentElement);
    const colour = (name) => new THREE.Color(style.getPropertyValue('--3d-' + name).trim());
    this.#scene.background = colour('background');
    for (const [name, material] of Object.entries({ ...materials, ...tints })) material.color = colour(name);
    this.sky.color = colour('sky');
    this.sky.groundColor = colour('ground');
    this.floor.material.opacity = Number(style.getPropertyValue('--3d-shadow'));
    this.table.material.color = colour('joint');
    this.handle.material.color = colour('accent');
    this.trail.paint(colour('accent'), colour('warning'), colour('background'));
    this.push.setColor(colour('accent'));
    this.#scene.traverse(({ material }) => {
      if (material?.name) material.color = colour(material.name);
    });
    this.#scene.remove(this.grid);
    this.grid = new THREE.GridHelper(3, 30, colour('axis'), colour('grid'));
    this.grid.rotation.x = Math.PI / 2;
    this.grid.position.z = -0.002;
    this.#scene.add(this.grid);
    this.#draw();
  }

  #resize() {
    const { clientWidth, clientHeight } = this.element;
    if (!clientWidth || !clientHeight) return;
    this.#renderer.setSize(clientWidth, clientHeight);
    this.camera.aspect = clientWidth / clientHeight;
    this.camera.updateProjectionMatrix();
    this.#draw();
  }

  #render() {
    const begun = performance.now();
    this.#renderer.render(this.#scene, this.camera);
    // Shadows cost most, and say least.
    this.#slow = performance.now() - begun > slowFrame ? this.#slow + 1 : 0;
    if (this.#slow < 5 || !this.sun.castShadow) return;
    this.sun.castShadow = false;
    this.#draw();
  }
}
