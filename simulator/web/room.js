// The room in which the arms stand side by side: light, floor, the camera.
import * as THREE from './three/build/three.module.js';
import { OrbitControls } from './three/examples/jsm/controls/OrbitControls.js';
import { materials } from './bodies.js';
import { Figure } from './figure.js';
import { followHand } from './hand.js';
import { tints } from './marks.js';
import { soon } from './soon.js';

const keyTurn = 0.1; // rad by which a key turns the view
const slowFrame = 60; // ms; if frames take longer, shadows are left out
const apart = 1.3; // m between two arms, however far they really are
const tools = 46; // px at the top of the picture that they cover
const centre = new THREE.Vector3(0, 0, 0.42); // of what is looked at
const views = { corner: [1.69, -1.5, 0.69], front: [2.38, 0, 0.13], side: [0, -2.38, 0.13], top: [0.001, 0, 2.5] };

export class Room {
  camera = new THREE.PerspectiveCamera(32, 1, 0.05, 60);
  #scene = new THREE.Scene();
  #renderer = new THREE.WebGLRenderer({ antialias: true });
  #figures = [];
  #chosen = 0;
  #size = 1; // of the arms, compared with what the views are made for
  #draw = soon(() => this.#render());
  #slow = 0; // frames in a row
  #view = ''; // which one it is, until somebody turns it

  /**
   * @param lead called with the place to which the operator's hand leads the tool of the chosen arm, metres in its base
   * @param choose called with the number of an arm that was clicked
   */
  constructor(element, lead, choose) {
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
    this.orbit.enableKeys = false; // they would shift the arm out of sight
    this.orbit.addEventListener('start', () => (this.#view = ''));
    this.orbit.addEventListener('change', () => this.#draw());
    followHand(this.canvas, this, (place) =>
      lead(new THREE.Vector3(...place).sub(this.#figures[this.#chosen].group.position).toArray()));
    this.#heedClicks(choose);
    this.#furnish();
    this.view('corner');
    matchMedia('(prefers-color-scheme: dark)').addEventListener('change', () => this.#paint());
    new ResizeObserver(() => this.#resize()).observe(element);
  }

  /** From farther away if several arms would not fit. */
  view(name) {
    if (!views[name]) return;
    this.#view = name;
    const others = ((this.#figures.length - 1) / 2) * apart;
    const wide = others && (others + 0.6 * this.#size) / (Math.tan(this.camera.fov * Math.PI / 360) * this.camera.aspect);
    const { clientHeight } = this.element;
    const place = new THREE.Vector3(...views[name]).multiplyScalar(this.#size * clientHeight / (clientHeight - tools));
    this.orbit.target.copy(centre).multiplyScalar(this.#size);
    this.camera.position.copy(place.setLength(Math.max(place.length(), wide + others / 2))).add(this.orbit.target);
    this.orbit.update();
    this.#draw();
  }

  /** The view, by key. */
  #turn(event) {
    const turns = { ArrowLeft: [-1, 0, 1], ArrowRight: [1, 0, 1], ArrowUp: [0, -1, 1], ArrowDown: [0, 1, 1],
                    '+': [0, 0, 0.9], '-': [0, 0, 1 / 0.9] };
    if (!turns[event.key]) return;
    event.preventDefault();
    this.#view = '';
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
    for (const { trail } of this.#figures) trail.break();
  }

  clearTrail() {
    for (const { trail } of this.#figures) trail.clear();
    this.#tell();
    this.#draw();
  }

  /** Where the chosen arm's tool is, while it may be led by hand. */
  get ledTool() {
    return this.#figures[this.#chosen]?.ledTool ?? null;
  }

  build(arms) {
    const several = arms.length > 1;
    this.#figures = arms.map((about, i) => new Figure(about, several ? `${i + 1}` : ''));
    this.#figures.forEach(({ group }, i) => {
      group.position.y = (i - (arms.length - 1) / 2) * apart;
      this.#scene.add(group);
    });
    const names = several ? `${arms.length} arms` : `Arm ${arms[0].model}`;
    this.canvas.setAttribute('aria-label', `${names}; arrow keys turn the view, plus and minus bring it nearer or farther`);
    this.#size = Math.max(...this.#figures.map(({ size }) => size));
    this.orbit.maxDistance = 6 + 2 * apart * (arms.length - 1);
    Object.assign(this.sun.shadow.camera, { left: -0.7 - 0.7 * arms.length, right: 0.7 + 0.7 * arms.length });
    this.sun.shadow.camera.updateProjectionMatrix();
    this.#resize();
    this.choose(this.#chosen);
  }

  choose(arm) {
    this.#chosen = arm;
    this.#figures.forEach((figure, i) => figure.choose(i === arm));
    this.#tell();
    this.#paint();
  }

  #tell() {
    const { spoken, trail } = this.#figures[this.#chosen];
    Object.assign(this.canvas.dataset, { flange: spoken, trail: trail.pieces });
  }

  /** A click, and no turning of the view, chooses an arm. */
  #heedClicks(choose) {
    const ray = new THREE.Raycaster();
    ray.linePrecision = 0; // m; axes are not clicked
    let begun = null;
    this.canvas.addEventListener('pointerdown', (event) => (begun = event), true);
    this.canvas.addEventListener('click', ({ offsetX, offsetY }) => {
      if (Math.hypot(offsetX - begun?.offsetX, offsetY - begun?.offsetY) > 4) return;
      const { clientWidth: width, clientHeight: height } = this.canvas;
      ray.setFromCamera({ x: (offsetX / width) * 2 - 1, y: 1 - (offsetY / height) * 2 }, this.camera);
      const hits = this.#figures.map(({ arm }) => ray.intersectObject(arm, true)[0]?.distance ?? Infinity);
      const nearest = Math.min(...hits);
      if (nearest < Infinity) choose(hits.indexOf(nearest));
    });
  }

  /** @param time s, of the arm */
  show(arm, state, time) {
    if (!this.#figures[arm].show(state, time)) return; // all stands as it is drawn
    this.#tell();
    this.#draw();
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
    this.#scene.add(this.sky, this.sun, this.floor);
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
    for (const { trail } of this.#figures) trail.paint(colour('accent'), colour('warning'), colour('background'));
    this.#scene.traverse((part) => {
      if (part.isSprite) part.paint(colour(part.colour), this.#scene.background);
      else if (part.material?.name) part.material.color = colour(part.material.name);
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
    this.camera.setViewOffset(clientWidth, clientHeight, 0, -tools / 2, clientWidth, clientHeight);
    this.view(this.#view);
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
