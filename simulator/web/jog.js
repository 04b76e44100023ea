// What moves the arm by hand: buttons that jog as long as they are held or make a step, and targets that are typed.
import { degrees, element, get, holdButton, write } from './parts.js';
import { link } from './links.js';

const axes = ['x', 'y', 'z', 'rx', 'ry', 'rz'];

/** Where the arm is, in the words in which it is sent to a target: mm and degrees. */
export function standsAt(state, how) {
  const round = (value) => Math.round(value * 1000) / 1000;
  if (how === 'joints') return { joints: state.joints.map(round) };
  const pose = state.pose.map((value, i) => round(i < 3 ? value * 1000 : degrees(value)));
  return { pose, line: how === 'line' };
}

export class Jog {
  #controller;
  #refused;
  #state = null;
  #fields = [];

  constructor(controller, refused) {
    this.#controller = controller;
    this.#refused = refused;
    const speed = get('jog-speed');
    const tellSpeed = () => write(get('jog-speed-value'), `${speed.value}\u2009%`);
    speed.addEventListener('input', tellSpeed);
    for (const name of ['jog-speed', 'jog-step', 'jog-frame', 'target-kind']) link(get(name), name);
    tellSpeed();

    for (const [sign, up] of [['\u2212', false], ['+', true]])
      axes.forEach((name, axis) => get('jog-keys').append(
        this.key(sign + name, `Tool ${axis < 3 ? 'along' : 'about'} ${sign}${name.slice(-1)}`, up,
                 () => ({ frame: get('jog-frame').value, axis }))));

    get('target-kind').addEventListener('change', () => this.#ask());
    get('target-take').addEventListener('click', () => this.#fill());
    get('target-form').addEventListener('submit', (event) => {
      event.preventDefault();
      const values = this.#fields.map(({ valueAsNumber }) => valueAsNumber);
      if (values.some(Number.isNaN)) return refused('A number is missing');
      const how = get('target-kind').value;
      this.go(how === 'joints' ? { joints: values } : { pose: values, line: how === 'line' });
    });
  }

  get percent() {
    return Number(get('jog-speed').value);
  }

  /** @param what says which joint, or which axis of which frame */
  key(text, label, up, what) {
    return holdButton(text, label, () => {
      const request = { ...what(), percent: this.percent };
      const step = Number(get('jog-step').value);
      if (!step) return this.#controller.hold({ act: 'jog', up, ...request }, this.#refused);
      this.#act({ act: 'step', by: up ? step : -step, ...request });
      return () => {};
    });
  }

  /** Sends the arm somewhere, from where it was sent before. Resolves to why not, or to nothing. */
  go(target) {
    return this.#act({ act: 'go', percent: this.percent, ...target });
  }

  /** Another arm is worked with. */
  restart() {
    this.#state = null;
  }

  show(state) {
    const first = !this.#state;
    this.#state = state;
    if (first) this.#ask();
  }

  async #act(request) {
    const refused = await this.#controller.act(request);
    this.#refused(refused);
    return refused;
  }

  /** Fields for the chosen kind of target. */
  #ask() {
    if (!this.#state) return;
    const inJoints = get('target-kind').value === 'joints';
    const names = inJoints ? this.#state.joints.map((_, i) => `J${i + 1}`) : axes;
    this.#fields = names.map((name, i) => {
      const field = Object.assign(element('input', 'number'), { type: 'number', step: 'any' });
      field.setAttribute('aria-label', `Target ${name}, ${inJoints || i > 2 ? '°' : 'mm'}`);
      return field;
    });
    get('target').replaceChildren(...this.#fields.map((field, i) => {
      const cell = element('label', 'field', names[i]);
      cell.append(field);
      return cell;
    }));
    this.#fill();
  }

  #fill() {
    if (!this.#state) return;
    const { joints, pose } = standsAt(this.#state, get('target-kind').value);
    this.#fields.forEach((field, i) => (field.value = (joints ?? pose)[i]));
  }
}
