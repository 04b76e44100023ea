// The stream of what happens, as the controller sends it. One serves all windows of a browser, since a browser opens
// few connections to the same address: worker.js keeps it where there are shared workers.

export class Stream {
  #source = null;
  #tell;
  #arm = 0; // of which the next events tell

  /** @param tell called with the kind of each event, its data, as text, and the number of the arm, from 0 */
  constructor(tell) {
    this.#tell = tell;
  }

  /** Begins it anew, so that whoever has just come is told all. */
  open() {
    if (this.#source?.readyState === EventSource.CONNECTING) return;
    this.close();
    this.#arm = 0;
    this.#source = new EventSource('/events');
    this.#source.addEventListener('arm', ({ data }) => (this.#arm = Number(data)));
    for (const kind of ['about', 'time', 'state', 'wire', 'full'])
      this.#source.addEventListener(kind, ({ data }) => this.#tell(kind, data, this.#arm));
    this.#source.addEventListener('full', () => this.close());
    this.#source.addEventListener('error', () => {
      this.close();
      this.#tell('lost', 'null', 0);
    });
  }

  close() {
    this.#source?.close();
    this.#source = null;
  }
}
