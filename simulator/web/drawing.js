// The arm from the side and from above, where the browser has no 3D. Has the face of the 3D view.
import { Vector3 } from './three/build/three.module.js';
import { soon } from './soon.js';

const margin = 40; // px

export class Drawing {
  plain = true;
  #hinges = [];
  #bodies = [];
  #reach = 1; // m
  #state = null;
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

  build({ model, hinges, bodies, flange }) {
    this.flange = new Vector3(...flange);
    this.#hinges = hinges.map(({ point, direction }) => [new Vector3(...point), new Vector3(...direction)]);
    this.#bodies = bodies.filter(({ surface }) => surface !== 'dark'); // of the foot a line's round end is no picture
    this.#reach = this.flange.length() * 1.15;
    this.canvas.setAttribute('role', 'img');
    this.canvas.setAttribute('aria-label', `Arm ${model} from the side and from above`);
  }

  show(state) {
    this.#state = state;
    this.#draw();
  }

  /** Where a point of a link is that is given for joints at zero. */
  #moved(place, link, { joints }) {
    const moved = new Vector3(...place);
    for (let i = link - 1; i >= 0; i--) {
      const [point, direction] = this.#hinges[i];
      moved.sub(point).applyAxisAngle(direction, (joints[i] * Math.PI) / 180).add(point);
    }
    return moved;
  }

  #render() {
    if (!this.#state || !this.flange) return;
    const { clientWidth: width, clientHeight: height } = this.element;
    const style = getComputedStyle(document.documentElement);
    const colour = (name) => style.getPropertyValue(name).trim();
    Object.assign(this.canvas, { width: width * devicePixelRatio, height: height * devicePixelRatio });
    Object.assign(this.canvas.style, { width: `${width}px`, height: `${height}px` });
    const paper = this.canvas.getContext('2d');
    paper.scale(devicePixelRatio, devicePixelRatio);
    paper.font = '11px B612, sans-serif';
    paper.lineCap = paper.lineJoin = 'round';

    const bodies = this.#bodies.map(({ link, surface, ends, radii }) =>
      [ends.map((end) => this.#moved(end, link, this.#state)), '--3d-' + surface, radii[0] + radii[1]]);
    const flange = this.#moved(this.flange.toArray(), this.#hinges.length, this.#state);
    const top = margin + 20;
    const scale = Math.max(1, Math.min((width - 3 * margin) / 2, height - top - margin) / (2 * this.#reach));
    const y = top + (height - top - margin) / 2;
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
      stroke([from(-this.#reach, 0, 0), from(this.#reach, 0, 0)], '--line', 1);
      const { table } = this.#state;
      if (up === 'z' && table !== null) stroke([from(-this.#reach, 0, table), from(this.#reach, 0, table)], '--amber', 2);
      for (const [ends, name, width] of bodies) stroke(ends, name, width * scale);
      paper.fillStyle = colour('--blue');
      paper.beginPath();
      paper.arc(...at(flange), 5, 0, 7);
      paper.fill();
      paper.fillStyle = colour('--soft');
      paper.fillText(name, x - this.#reach * scale, height - 14);
    }
    const spoken = flange.toArray().map((value) => value.toFixed(4));
    this.canvas.dataset.flange = spoken.join(' ');
  }
}
