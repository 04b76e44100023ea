// The last lines on the wire of one arm: each request with its reply and how long that took.
import { Pairs } from './pairs.js';

const kept = 2000;

export class Lines {
  all = [];
  clients = new Set();
  #pairs = new Pairs();
  #last = 0;

  /** Of a controller that counts its lines from the beginning. */
  restart() {
    this.#last = 0;
    this.#pairs = new Pairs();
  }

  add(lines) {
    for (const [number, time, client, direction, text] of lines) {
      if (number <= this.#last) continue;
      if (this.#last && number > this.#last + 1)
        this.all.push({ gap: true, text: `${number - this.#last - 1} lines not shown` });
      this.#last = number;
      const line = { number, time, client, direction, text };
      this.#pairs.add(line);
      this.all.push(line);
      if (client) this.clients.add(client);
    }
    this.all.splice(0, this.all.length - kept);
  }
}
