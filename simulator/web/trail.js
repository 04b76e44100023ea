// Where the tool has been: the faster, the warmer, and the older, the fainter.
import * as THREE from './three/build/three.module.js';

const longest = 1500; // pieces
const step = 0.002; // m between two of them
const fast = 0.25; // m/s

export class Trail {
  line;
  #broken = true;
  #last = new THREE.Vector3();
  #since = 0; // s, when the tool was there
  #speeds = []; // of the pieces, 0 to 1
  #places = new THREE.BufferAttribute(new Float32Array(longest * 6), 3);
  #colours = new THREE.BufferAttribute(new Float32Array(longest * 6), 3);
  #palette = null;

  constructor() {
    const geometry = new THREE.BufferGeometry();
    geometry.setAttribute('position', this.#places);
    geometry.setAttribute('color', this.#colours);
    this.line = new THREE.LineSegments(geometry, new THREE.LineBasicMaterial({ vertexColors: THREE.VertexColors }));
    this.line.frustumCulled = false;
    this.clear();
  }

  get pieces() {
    return this.#speeds.length;
  }

  /** What comes now does not continue what was seen last. */
  break() {
    this.#broken = true;
  }

  clear() {
    this.#speeds = [];
    this.line.geometry.setDrawRange(0, 0);
  }

  paint(slow, fast, background) {
    this.#palette = { slow, fast, background };
    this.#colour();
  }

  /** @param time s, of the arm */
  lengthen(tip, time) {
    const way = this.#last.distanceTo(tip);
    if (!this.#broken && way < step) return;
    if (!this.#broken) this.#add(tip, time > this.#since ? way / (time - this.#since) : 0);
    this.#broken = false;
    this.#last.copy(tip);
    this.#since = time;
  }

  #add(tip, speed) {
    if (this.#speeds.length === longest) {
      this.#places.array.copyWithin(0, 6);
      this.#speeds.shift();
    }
    const end = 2 * this.#speeds.push(Math.min(1, speed / fast));
    this.#places.setXYZ(end - 2, this.#last.x, this.#last.y, this.#last.z);
    this.#places.setXYZ(end - 1, tip.x, tip.y, tip.z);
    this.#places.needsUpdate = true;
    this.line.geometry.setDrawRange(0, end);
    this.#colour();
  }

  #colour() {
    if (!this.#palette) return;
    const { slow, fast, background } = this.#palette;
    const colour = new THREE.Color();
    this.#speeds.forEach((speed, i) => {
      const age = (this.#speeds.length - i) / longest;
      colour.copy(slow).lerp(fast, speed).lerp(background, 0.85 * age);
      for (const end of [2 * i, 2 * i + 1]) this.#colours.setXYZ(end, colour.r, colour.g, colour.b);
    });
    this.#colours.needsUpdate = true;
  }
}
