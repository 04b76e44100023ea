// The readings beside the arm, and the switches among them.
import { bar, degrees, element, fixed, get, holdButton, write } from './parts.js';

export class Panel {
  #controller;
  #refused;
  #joints = [];
  #pose = [];
  #force = [];
  #rows = {};
  #state = null;

  #jog;

  /** @param jog makes the buttons that move joints */
  constructor(controller, refused, jog) {
    this.#controller = controller;
    this.#refused = refused;
    this.#jog = jog;
    this.#buildPose();
    this.#buildForce();
    this.#buildIo();
    const tellForce = () => write(get('push-force-value'), `${get('push-force').value}\u2009N`);
    get('push-force').addEventListener('input', tellForce);
    tellForce();
    get('object').addEventListener('click', () => this.#act(this.#state?.object
      ? { act: 'object' } : { act: 'object', width: Number(get('object-width').value), mass: 0.5 }));
  }

  async #act(request) {
    this.#refused(await this.#controller.act(request));
  }

  build({ hinges }) {
    this.#joints = hinges.map((_, i) => {
      const name = `Joint ${i + 1}`;
      const row = element('div', 'joint');
      const parts = { row, low: element('span', 'limit number'), high: element('span', 'limit number'),
                      value: element('span', 'value number'), ...bar() };
      const down = this.#jog.key('\u2212', `${name} down`, false, () => ({ joint: i + 1 }));
      const up = this.#jog.key('+', `${name} up`, true, () => ({ joint: i + 1 }));
      row.append(element('span', 'name', `J${i + 1}`), down, parts.low, parts.track, parts.high, up, parts.value);
      parts.value.dataset.name = name;
      return parts;
    });
    get('joints').replaceChildren(...this.#joints.map(({ row }) => row));
  }

  #buildPose() {
    this.#pose = ['x', 'y', 'z', 'rx', 'ry', 'rz'].map((name, i) => {
      const cell = element('div');
      const value = element('span', 'value number');
      cell.append(element('span', 'name', name), value, element('span', 'note', i < 3 ? 'mm' : '°'));
      get('pose').append(cell);
      return value;
    });
  }

  #buildForce() {
    this.#force = ['Fx', 'Fy', 'Fz', 'Mx', 'My', 'Mz'].map((name) => {
      const row = element('div', 'force');
      const value = element('span', 'value number');
      const parts = { value, ...bar() };
      row.append(element('span', 'name', name), parts.track, value);
      get('force').append(row);
      return parts;
    });
    for (const [name, ...direction] of [['+x', 1, 0, 0], ['+y', 0, 1, 0], ['+z', 0, 0, 1], ['\u2212x', -1, 0, 0],
                                        ['\u2212y', 0, -1, 0], ['\u2212z', 0, 0, -1]])
      get('push').append(holdButton(name, `Push towards ${name} of the base`, () => this.#controller.hold(
        { act: 'push', force: direction.map((value) => value * Number(get('push-force').value)) }, this.#refused)));
  }

  #buildIo() {
    const row = (name, label, cells) => {
      const line = element('div', 'io');
      line.append(element('span', 'name', label), ...cells);
      get('io').append(line);
      this.#rows[name] = cells;
    };
    const channels = [1, 2, 3, 4];
    const input = (kind, label) => (channel) => {
      const button = element('button', 'channel', String(channel));
      button.setAttribute('aria-label', `${label} ${channel}`);
      button.addEventListener('click', () => this.#act({ act: 'input', kind, channel,
                                                         on: button.getAttribute('aria-pressed') !== 'true' }));
      return button;
    };
    const volts = (channel) => {
      const cell = element('label', 'volts');
      const range = Object.assign(element('input'), { type: 'range', min: 0, max: 10, step: 0.1 });
      range.setAttribute('aria-label', `Analogue input ${channel}`);
      range.addEventListener('input', () =>
        this.#act({ act: 'input', kind: 'analogue', channel, volts: Number(range.value) }));
      cell.append(element('span', 'number'), range);
      return cell;
    };
    row('digitalInputs', 'DI', channels.map(input('digital', 'Digital input')));
    row('digitalOutputs', 'DO', channels.map((channel) => element('span', 'channel output', String(channel))));
    row('tool', 'Tool', channels.map(input('tool', 'Tool channel')));
    row('analogueInputs', 'AI', channels.map(volts));
    row('analogueOutputs', 'AO', channels.map(() => element('span', 'value number')));
  }

  show(state) {
    this.#state = state;
    this.#joints.forEach(({ row, low, high, value, set }, i) => {
      const [from, to] = state.limits[i];
      set(state.joints[i], from, to);
      write(low, fixed(from, 0));
      write(high, fixed(to, 0));
      write(value, fixed(state.joints[i], 3) + '°');
      row.classList.toggle('faulty', state.jointErrors[i] !== 0);
      row.classList.toggle('near', Math.min(state.joints[i] - from, to - state.joints[i]) < 2);
    });
    this.#pose.forEach((value, i) => write(value, fixed(i < 3 ? state.pose[i] * 1000 : degrees(state.pose[i]), 2)));
    get('dexterity').value = state.dexterity ?? 0;
    write(get('dexterity-value'), state.dexterity === null ? '\u2013' : fixed(state.dexterity, 3));
    write(get('frames'), `tool “${state.toolName}” in “${state.workName}”`);

    const most = (values) => Math.max(...values.map(Math.abs));
    const range = (value) => [10, 20, 50, 100, 200, 500, 1000, 5000].find((limit) => value <= limit) ?? 10000;
    const newtons = range(most(state.force.slice(0, 3)));
    const metres = range(10 * most(state.force.slice(3))) / 10;
    this.#force.forEach(({ value, set }, i) => {
      const limit = i < 3 ? newtons : metres;
      set(state.force[i], -limit, limit);
      write(value, fixed(state.force[i], i < 3 ? 1 : 2));
    });
    write(get('force-range'), `flange axes, ±${newtons} N, ±${metres} Nm`);

    const press = (button, on) => button.setAttribute('aria-pressed', String(on));
    state.digitalInputs.forEach((on, i) => press(this.#rows.digitalInputs[i], on));
    state.digitalOutputs.forEach((on, i) => this.#rows.digitalOutputs[i].classList.toggle('on', on));
    state.toolStates.forEach((on, i) => {
      const cell = this.#rows.tool[i];
      press(cell, on);
      cell.disabled = state.toolIsOutput[i];
    });
    write(get('supply'), `tool ${state.toolSupply} V`);
    this.#rows.analogueInputs.forEach((cell, i) => {
      const [value, slider] = cell.children;
      write(value, state.analogueInputs[i].toFixed(1));
      if (document.activeElement !== slider) slider.value = state.analogueInputs[i];
    });
    this.#rows.analogueOutputs.forEach((value, i) => write(value, (state.analogueOutputs[i] / 1000).toFixed(1)));

    const { opening, force } = state.gripper;
    get('opening').style.width = `${opening}%`;
    write(get('grip'), `${opening.toFixed(1)} mm${force ? `, ${force.toFixed(1)} N` : ''}`);
    write(get('object'), state.object ? 'Remove object' : 'Place object');
    press(get('object'), state.object !== null);
  }
}
