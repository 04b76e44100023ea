// What an arm did in the last minutes, or in a recording: its states, and what happened meanwhile.

const kept = 6000; // states, of which a moving arm has 50 a second
const keptEvents = 200;

export class Past {
  states = []; // { time, state }, the state of none where nothing was seen
  events = []; // { time, text }
  marked = 0; // events, ever
  now = 0; // s of the arm's time
  recorded = false; // if it is, it has no present
  #last = ''; // what was told last about the state

  /** What was recorded. @throws Error if it cannot be shown */
  static of({ why, states, events }) {
    if (why) throw new Error(why);
    const past = new Past();
    const joints = states.length ? states[0].length - 7 : 0;
    past.recorded = true;
    past.states = states.map(([time, ...values], i) => {
      const [before, after] = [states[i - 1] ?? states[i], states[i + 1] ?? states[i]];
      const near = after[0] - before[0] > 0 && after[0] - before[0] < 1;
      const speeds = values.slice(0, joints).map((_, j) =>
        near ? (after[j + 1] - before[j + 1]) / (after[0] - before[0]) : 0);
      return { time, state: { joints: values.slice(0, joints), speeds, pose: values.slice(joints), dexterity: null } };
    });
    past.events = events.map(([time, text]) => ({ time, text }));
    past.marked = events.length;
    past.now = Math.max(0, states.at(-1)?.[0] ?? 0, events.at(-1)?.[0] ?? 0);
    return past;
  }

  /** Of a controller whose time begins anew. */
  restart() {
    this.states = [];
    this.events = [];
    this.marked = 0;
  }

  get begin() {
    return this.states.find(({ state }) => state)?.time ?? 0;
  }

  /** What comes now does not continue what came last. */
  gap() {
    if (this.states.length) this.states.push({ time: this.now, state: null });
  }

  add(state) {
    this.states.push({ time: this.now, state });
    if (this.states.length > kept) this.states.shift();
    const told = state.errors.join(', ') || state.mode;
    if (told !== this.#last) this.mark(this.now, told);
    this.#last = told;
  }

  /** Something has happened. */
  mark(time, text) {
    this.now = Math.max(this.now, time);
    this.marked++;
    this.events.push({ time, text });
    if (this.events.length > keptEvents) this.events.shift();
  }

  at(time) {
    return this.states.findLast((entry) => entry.state && entry.time <= time)?.state;
  }
}
