// Which reply answers which request, and after how long. A reply names its command, or what it tells of; one that tells of a
// motion ends the oldest motion that is open; a refusal answers what was asked last.

const motions = /^(move[jlc]|movej_p|set_\w+_step|drag_trajectory_origin|set_lift_height)$/; // answered at their end

const parsed = (line) => {
  try {
    return JSON.parse(line);
  } catch {
    return {};
  }
};

/** "get_IO_output" and "IO_output_state" are of one thing. */
const thing = (name) => String(name).toLowerCase().replace(/^get_/, '').replace(/_state$/, '');

export class Pairs {
  #open = new Map(); // by client: what waits for its reply, the oldest first

  /** Tells a request's number to its reply, and the reply's number and lateness (ms) to its request. */
  add(line) {
    if (line.direction === '--') return;
    if (!this.#open.has(line.client)) this.#open.set(line.client, []);
    const open = this.#open.get(line.client);
    const { command, error } = parsed(line.text);
    if (line.direction === '->') {
      open.push(Object.assign(line, { command }));
      if (open.length > 200) open.shift();
      return;
    }
    const wanted = command === undefined ? open.length - 1
      : command === 'current_trajectory_state' ? open.findIndex((request) => motions.test(request.command))
      : open.findIndex((request) => thing(request.command) === thing(command));
    if (wanted < 0 || (command === undefined && error === undefined)) return;
    const [request] = open.splice(wanted, 1);
    const took = (line.time - request.time) * 1000;
    Object.assign(line, { partner: request.number, took });
    Object.assign(request, { partner: line.number, took });
  }
}
