// The arms from the side and from above, where the browser has no 3D. Has the face of the room.
import { Vector3 } from './three/build/three.module.js';
import { soon } from './soon.js';

const margin = 40; // px, if there is room

/** An arm in lines. */
class Sketch {
  state = null;
  #hinges;
  #bodies;
  #flange;
  reach; // m

  constructor({ hinges, bodies, flange }) {
    this.#flange = flange;
    this.#hinges = hinges.map(({ point, direction }) => [new Vector3(...point), new Vector3(...direction)]);
    this.#bodies = bodies.filter(({ surface }) => surface !== 'dark'); // of the foot a line's round end is no picture
    this.reach = new Vector3(...flange).length() * 1.15;
  }

  /** Where a point of a link is that is given for joints at zero. */
  #moved(place, link) {
    const moved = new Vector3(...place);
    for (let i = link - 1; i >= 0; i--) {
      const [point, direction] = this.#hinges[i];
      moved.sub(point).applyAxisAngle(direction, (this.state.joints[i] * Math.PI) / 180).add(point);
    }
    return moved;
  }

  get flange() {
    return this.#moved(this.#flange, this.#hinges.length);
  }

  /** Lines, each with its ends, what its surface is called, and how thick it is, m. */
  get lines() {
    return this.#bodies.map(({ link, surface, ends, radii }) =>
      [ends.map((end) => this.#moved(end, link)), '--3d-' + surface, radii[0] + radii[1]]);
  }
}

export class Drawing {
  plain = true;
  #sketches = [];
  #chosen = 0;
  #draw = soon(() => this.#render());

  constructor(element) {
    this.element = element;
    this.canvas = document.createElement('canvas');
    element.prepend(this.canvas);
    matchMedia('(prefers-color-scheme: dark)').addEventListener('change', () => this.#draw());
    new ResizeObserver(() => this.#draw()).observe(element);
  }

  view() {}
  clearTrail() {}
  breakTrail() {}

  build(arms) {
    this.#sketches = arms.map((about) => new Sketch(about));
    this.canvas.setAttribute('role', 'img');
    const names = arms.map(({ model }) => `Arm ${model}`).join(', ');
    this.canvas.setAttribute('aria-label', `${names} from the side and from above`);
  }

  choose(arm) {
    this.#chosen = arm;
    this.#draw();
  }

  show(arm, state) {
    this.#sketches[arm].state = state;
    this.#draw();
  }

  /** A row for each arm. */
  #render() {
    const { clientWidth: width, clientHeight: height } = this.element;
    const style = getComputedStyle(document.documentElement);
    const colour = (name) => style.getPropertyValue(name).trim();
    Object.assign(this.canvas, { width: width * devicePixelRatio, height: height * devicePixelRatio });
    Object.assign(this.canvas.style, { width: `${width}px`, height: `${height}px` });
    const paper = this.canvas.getContext('2d');
    paper.scale(devicePixelRatio, devicePixelRatio);
    paper.font = '11px B612, sans-serif';
    paper.lineCap = paper.lineJoin = 'round';
    const rows = this.#sketches.length;
    this.#sketches.forEach((sketch, row) => {
      const top = margin + (row * (height - margin)) / rows;
      if (sketch.state) this.#sketch(paper, colour, sketch, row, { width, top, height: (height - margin) / rows });
    });
    const { state, flange } = this.#sketches[this.#chosen] ?? {};
    if (state) this.canvas.dataset.flange = flange.toArray().map((value) => value.toFixed(4)).join(' ');
  }

  #sketch(paper, colour, sketch, row, { width, top, height }) {
    const { reach, lines, flange, state: { table } } = sketch;
    const scale = Math.max(1, Math.min((width - 3 * Math.min(margin, width / 25)) / 2, height - margin) / (2 * reach));
    const y = top + (height - 10) / 2;
    const several = this.#sketches.length > 1 ? `Arm ${row + 1}, ` : '';
    const views = [['Side: x to the right, z up', 'z', width * 0.27], ['Top: x to the right, y up', 'y', width * 0.73]];
    for (const [name, up, x] of views) {
      const at = (point) => [x + point.x * scale, y - point[up] * scale];
      const stroke = (places, name, thickness) => {
        paper.strokeStyle = colour(name);
        paper.lineWidth = thickness;
        paper.beginPath();
        places.forEach((place) => paper.lineTo(...at(place)));
        paper.stroke();
      };
      const from = (x, y, z) => ({ x, y, z });
      stroke([from(-reach, 0, 0), from(reach, 0, 0)], '--line', 1);
      if (up === 'z' && table !== null) stroke([from(-reach, 0, table), from(reach, 0, table)], '--amber', 2);
      for (const [ends, name, width] of lines) stroke(ends, name, width * scale);
      paper.fillStyle = colour('--blue');
      paper.beginPath();
      paper.arc(...at(flange), 5, 0, 7);
      paper.fill();
      paper.fillStyle = colour(row === this.#chosen ? '--ink' : '--soft');
      paper.fillText(several + name, x - reach * scale, top + height - 14);
    }
  }
}
