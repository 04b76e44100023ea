// Motion over time: what the chosen arm did in the last minutes, or in a recording, as curves with the events among them.
// Pointing into the past shows the arm as it stood then, and playing it as it moved.
import { Past } from './past.js';
import { element, fixed, get, write } from './parts.js';
import { soon } from './soon.js';

const longest = 60; // s of the arm's time that are seen at once
const interval = 100; // ms between two drawings
const margin = { left: 44, right: 6, top: 6, bottom: 16 }; // px
const colours = ['#2b8cb0', '#d0453c', '#3d9a50', '#b97a10', '#8b6cc0', '#5a86d8', '#8a8a8a']; // seen on light and dark

const length = (from, to) => Math.hypot(...[0, 1, 2].map((i) => to.pose[i] - from.pose[i]));
/** Round values from below one to above another, with so many steps at most, and how many digits they need. */
function scale(low, high, steps) {
  const rough = (high - low) / steps;
  const power = Math.floor(Math.log10(rough));
  const step = [1, 2, 5, 10].find((of) => of * 10 ** power >= rough) * 10 ** power;
  const first = Math.floor(low / step);
  return { digits: Math.max(0, -Math.floor(Math.log10(step))),
           marks: Array.from({ length: Math.ceil(high / step) - first + 1 }, (_, i) => (first + i) * step) };
}
const joint = (i) => `joint ${i + 1}`;

/** By name: its unit, the names of its curves, and their values in a state; `before` is the state before that one. */
const quantities = {
  'joint angles': { unit: '°', values: ({ joints }) => joints, name: joint },
  'joint speeds': { unit: '°/s', values: ({ speeds }) => speeds, name: joint },
  'tool speed': { unit: 'mm/s', name: (_, recorded) => recorded ? 'flange' : 'tool',
                  values: (state, time, before) => [before && time - before.time < 0.5 && time > before.time
                    ? (length(before.state, state) * 1000) / (time - before.time) : 0] },
  forces: { unit: 'N', values: ({ force }) => force?.slice(0, 3), name: (i) => 'F' + 'xyz'[i] },
  torques: { unit: 'Nm', values: ({ force }) => force?.slice(3), name: (i) => 'M' + 'xyz'[i] },
  currents: { unit: 'A', values: ({ currents }) => currents, name: joint },
};

export class Plots {
  #past = new Past();
  #at = null; // the moment in the past that is shown, s
  #end = 0; // of what is seen, s
  #span = longest;
  #listed = 0; // events, ever
  #canvas = get('plot');
  #choice = get('plot-of');
  #time = get('plot-time');
  #show;
  #playing = null; // { from, since }: at which moment it began, and when
  #drawSoon = soon(() => this.#draw(), interval);

  /** @param show called with a past state and its time, and whether it continues the one before; or with nothing for the present */
  constructor(show) {
    this.#show = show;
    this.#choice.append(...Object.keys(quantities).map((name) => new Option(name)));
    this.#choice.addEventListener('change', () => this.#draw());
    const point = ({ offsetX }) => this.#point(this.#timeAt(offsetX));
    this.#canvas.addEventListener('pointerdown', (event) => {
      this.#canvas.setPointerCapture(event.pointerId);
      point(event);
    });
    this.#canvas.addEventListener('pointermove', (event) => event.buttons && point(event));
    this.#canvas.addEventListener('keydown', (event) => {
      const step = { ArrowLeft: -0.1, ArrowRight: 0.1, PageUp: -5, PageDown: 5 }[event.key];
      if (!step) return;
      event.preventDefault();
      this.#point((this.#at ?? this.#past.now) + step);
    });
    this.#time.addEventListener('input', () => this.#point(Number(this.#time.value)));
    const click = (id, handle) => get(id).addEventListener('click', handle);
    click('plot-now', () => this.#point(null));
    click('plot-play', () => (this.#playing ? this.#halt() : this.#play()));
    click('plot-csv', () => this.#save('csv', URL.createObjectURL(new Blob([this.#table()], { type: 'text/csv' }))));
    click('plot-png', () => this.#save('png', this.#canvas.toDataURL()));
    new ResizeObserver(() => this.#draw()).observe(this.#canvas.parentElement);
    matchMedia('(prefers-color-scheme: dark)').addEventListener('change', () => this.#draw());
  }

  /** The present is not the one that is shown. */
  get looksBack() {
    return this.#at !== null;
  }

  get showsRecording() {
    return this.#past.recorded;
  }

  /** Shows the past of an arm, or a recorded one from its begin. */
  use(past) {
    this.#past = past;
    this.#listed = 0;
    get('events').replaceChildren();
    this.#list();
    const some = past.recorded && past.states[0]?.state;
    for (const option of this.#choice.options) option.disabled = some && !quantities[option.value].values(some);
    this.#point(past.recorded ? past.begin : null);
  }

  /** There is more of it. Frames of the screen are asked for only if it is seen. */
  tell() {
    this.#list();
    if (this.#canvas.clientWidth) this.#drawSoon();
  }

  /** Shows once more what is looked at, to somebody who was not there. */
  again() {
    if (this.#at !== null) this.#show(this.#past.at(this.#at), this.#at, true);
  }

  #timeAt(x) {
    const width = this.#canvas.clientWidth - margin.left - margin.right;
    return this.#end - this.#span + ((x - margin.left) / width) * this.#span;
  }

  /** Looks at a moment that somebody has pointed at. */
  #point(time) {
    this.#halt();
    this.#look(time);
  }

  #look(time) {
    const { begin, now, recorded } = this.#past;
    this.#at = recorded ? Math.min(now, Math.max(begin, time ?? now))
      : time === null || !this.#past.states.length || time >= now ? null : Math.max(begin, time);
    get('plot-now').disabled = this.#at === null || recorded;
    document.body.classList.toggle('looks-back', this.#at !== null);
    get('view').dataset.past = this.#at === null ? '' : `as it was at ${this.#at.toFixed(2)} s`;
    if (this.#at === null) this.#show();
    else this.#show(this.#past.at(this.#at), this.#at, this.#playing !== null);
    if (this.#playing) this.#drawSoon();
    else this.#draw();
  }

  /** From the moment that is looked at, or from the begin. */
  #play() {
    const { begin, now } = this.#past;
    if (this.#at === null || this.#at >= now) this.#look(begin); // which is no way of the arm's
    this.#playing = { from: this.#at ?? begin, since: performance.now() };
    write(get('plot-play'), 'Halt');
    const go = () => {
      if (!this.#playing) return;
      const time = this.#playing.from + (performance.now() - this.#playing.since) / 1000;
      this.#look(time);
      if (this.#at === null || this.#at < time) this.#halt();
      else requestAnimationFrame(go);
    };
    go();
  }

  #halt() {
    this.#playing = null;
    write(get('plot-play'), 'Play');
  }

  /** The chosen quantity, in what is seen. */
  #values() {
    const { values } = quantities[this.#choice.value];
    const { states, now } = this.#past;
    const from = this.#end - this.#span;
    return states.flatMap(({ time, state }, i) => {
      const next = states[i + 1];
      if ((next && next.time < from) || time > this.#end) return [];
      if (!state) return [{ time, value: null }];
      const before = states[i - 1];
      const value = values(state, time, before?.state ? before : null);
      // While nothing is told, nothing changes.
      const until = next ? next.time - 0.02 : now;
      return until > time ? [{ time, value }, { time: until, value }] : [{ time, value }];
    });
  }

  /** What is seen: the last of it, or that about the moment that is looked at, which stays as long as it can. */
  #frame() {
    const { begin, now, recorded } = this.#past;
    this.#span = Math.max(recorded ? 1 : 10, Math.min(longest, now - begin));
    if (this.#at === null) this.#end = now;
    else if (this.#at > this.#end || this.#at < this.#end - this.#span) this.#end = Math.min(now, this.#at + this.#span / 2);
    if (recorded) this.#end = Math.max(this.#end, begin + this.#span);
  }

  #draw() {
    const { clientWidth: width, clientHeight: height } = this.#canvas;
    if (!width || document.hidden) return;
    this.#frame();
    const { unit, name } = quantities[this.#choice.value];
    const style = getComputedStyle(document.documentElement);
    const colour = (key) => style.getPropertyValue(key).trim();
    Object.assign(this.#canvas, { width: width * devicePixelRatio, height: height * devicePixelRatio });
    const paper = this.#canvas.getContext('2d');
    paper.scale(devicePixelRatio, devicePixelRatio);
    paper.fillStyle = colour('--surface'); // a picture of its own has a ground
    paper.fillRect(0, 0, width, height);
    paper.font = '10px B612, sans-serif';

    const entries = this.#values();
    const all = entries.flatMap(({ value }) => value ?? []);
    const { marks, digits } = scale(Math.min(0, ...all), Math.max(0.1, ...all), 5);
    const [low, high] = [marks[0], marks.at(-1)];
    const [end, span] = [this.#end, this.#span];
    const x = (time) => margin.left + ((time - end + span) / span) * (width - margin.left - margin.right);
    const y = (value) => height - margin.bottom - ((value - low) / (high - low)) * (height - margin.top - margin.bottom);
    const line = (points, ink, thickness = 1) => {
      paper.strokeStyle = ink;
      paper.lineWidth = thickness;
      paper.beginPath();
      points.forEach(([px, py], i) => (i ? paper.lineTo(px, py) : paper.moveTo(px, py)));
      paper.stroke();
    };

    paper.fillStyle = colour('--soft');
    paper.textAlign = 'right';
    for (const value of marks) {
      line([[margin.left, y(value)], [width - margin.right, y(value)]], colour('--line'));
      paper.fillText(fixed(value, digits), margin.left - 4, y(value) + 3);
    }
    const times = scale(end - span, end, 6);
    for (const time of times.marks)
      if (time >= Math.max(0, end - span) && time <= end)
        paper.fillText(`${fixed(time, times.digits)} s`, Math.min(x(time) + 10, width), height - 3);

    paper.save();
    paper.rect(margin.left, 0, width - margin.left - margin.right, height - margin.bottom + 1);
    paper.clip();
    for (const { time } of this.#past.events) line([[x(time), margin.top], [x(time), height - margin.bottom]], colour('--track'), 2);
    const curves = entries.find(({ value }) => value)?.value.length ?? 0;
    for (let i = 0; i < curves; i++) {
      let piece = [];
      for (const { time, value } of [...entries, { value: null }]) {
        if (value) piece.push([x(time), y(value[i])]);
        else line(piece, colours[i], 1.3), (piece = []);
      }
    }
    if (this.#at !== null) line([[x(this.#at), 0], [x(this.#at), height]], colour('--ink'));
    paper.restore();
    this.#describe(unit, name, entries, curves);
  }

  /** The curves with their values now, or at the moment that is looked at, and the last event before that. */
  #describe(unit, name, entries, curves) {
    const at = this.#at ?? this.#past.now;
    const values = entries.findLast(({ time, value }) => value && time <= at)?.value ?? [];
    const legend = get('plot-legend');
    if (legend.children.length !== curves)
      legend.replaceChildren(...Array.from({ length: curves }, () => document.createElement('span')));
    [...legend.children].forEach((item, i) => {
      item.style.borderColor = colours[i];
      write(item, `${name(i, this.#past.recorded)} ${fixed(values[i] ?? 0, 2)} ${unit}`);
    });
    const { begin, now } = this.#past;
    Object.assign(this.#time, { min: begin, max: Math.max(now, begin + 0.01), value: at });
    this.#time.setAttribute('aria-valuetext', `${at.toFixed(1)} s`);
    const event = this.#past.events.findLast(({ time }) => time <= at);
    write(get('plot-event'), (this.#at === null ? '' : `at ${this.#at.toFixed(2)} s: `)
      + (event ? `${event.text}, since ${event.time.toFixed(2)} s` : ''));
  }

  /** The events, the last one first. */
  #list() {
    const { events, marked } = this.#past;
    const fresh = marked - this.#listed;
    if (!fresh) return;
    this.#listed = marked;
    const list = get('events');
    for (const { time, text } of events.slice(-fresh)) {
      const item = element('li');
      const button = element('button', '', `${time.toFixed(2)} s  ${text}`);
      button.addEventListener('click', () => this.#point(time));
      item.append(button);
      list.prepend(item);
    }
    while (list.children.length > events.length) list.lastChild.remove();
  }

  #table() {
    const { unit, name, values } = quantities[this.#choice.value];
    const { states } = this.#past;
    const entries = states.map(({ time, state }, i) => {
      const before = states[i - 1];
      return state && [time, ...(values(state, time, before?.state ? before : null) ?? [])];
    }).filter(Boolean);
    const names = entries.length ? entries[0].slice(1).map((_, i) => `${name(i, this.#past.recorded)} (${unit})`) : [];
    return [['time (s)', ...names], ...entries].map((row) => row.join(',')).join('\n') + '\n';
  }

  #save(kind, address) {
    Object.assign(document.createElement('a'), {
      href: address, download: `${this.#choice.value.replace(' ', '-')}.${kind}` }).click();
  }
}
