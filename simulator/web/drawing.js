// The arm from the side and from above, where the browser has no 3D. Has the face of the 3D view.
import { Vector3 } from './three/build/three.module.js';
import { skeleton } from './skeleton.js';
import { soon } from './soon.js';

const margin = 40; // px

export class Drawing {
  plain = true;
  #bones = [];
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

  build({ model, hinges, flange }) {
    this.flange = new Vector3(...flange);
    this.#bones = skeleton(hinges, this.flange);
    this.#reach = this.flange.length() * 1.15;
    this.canvas.setAttribute('role', 'img');
    this.canvas.setAttribute('aria-label', `Arm ${model} from the side and from above`);
  }

  show(state) {
    this.#state = state;
    this.#draw();
  }

  /** The middle line of the arm, from its base to its flange. */
  #line({ joints }) {
    const points = [new Vector3(), ...this.#bones.flatMap(({ middle, leave }) => [middle, leave]), this.flange]
      .map((point) => point.clone());
    for (let i = joints.length - 1; i >= 0; i--) {
      const { point, direction } = this.#bones[i].axis;
      for (const moved of points.slice(1 + 2 * i))
        moved.sub(point).applyAxisAngle(direction, (joints[i] * Math.PI) / 180).add(point);
    }
    return points;
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

    const points = this.#line(this.#state);
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
      stroke(points, '--3d-shell', 12);
      stroke(points, '--ink', 2);
      paper.fillStyle = colour('--blue');
      paper.beginPath();
      paper.arc(...at(points[points.length - 1]), 5, 0, 7);
      paper.fill();
      paper.fillStyle = colour('--soft');
      paper.fillText(name, x - this.#reach * scale, height - 14);
    }
    const spoken = points[points.length - 1].toArray().map((value) => value.toFixed(4));
    this.canvas.dataset.flange = spoken.join(' ');
  }
}
