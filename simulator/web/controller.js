// The connection to the controller: listens to its stream, asks it for actions, and comes back by itself.

const retry = 1000; // ms
const silence = 3000; // ms without a word, after which the connection counts as lost
const confirmHold = 200; // ms; the controller lets go of what is not confirmed

export class Controller extends EventTarget {
  #stream = null;
  #token = '';
  #heard = 0;
  #about = null;

  constructor() {
    super();
    // A page that nobody sees needs no stream.
    document.addEventListener('visibilitychange', () => (document.hidden ? this.#close() : this.#open()));
    setInterval(() => this.#check(), retry);
    if (!document.hidden) this.#open();
  }

  /** Asks for an action; resolves to why it was refused, or to nothing. */
  async act(request) {
    try {
      const reply = await fetch('/act', {
        method: 'POST',
        headers: { 'Content-Type': 'application/json', 'X-Token': this.#token },
        body: JSON.stringify(request),
      });
      if (reply.ok) return '';
      return reply.status === 409 ? await reply.text() : `the controller answered ${reply.status}`;
    } catch {
      return 'the controller cannot be reached';
    }
  }

  /** Holds something until the function that it returns is called. */
  hold(request, refused) {
    let held = true;
    const confirm = async () => {
      const why = held ? await this.act(request) : '';
      if (why) {
        refused(why);
        held = false;
      }
      if (held) setTimeout(confirm, confirmHold);
      else this.act({ act: 'release' });
    };
    confirm();
    return () => {
      held = false;
      this.act({ act: 'release' });
    };
  }

  #open() {
    this.#close();
    const stream = (this.#stream = new EventSource('/events'));
    this.#heard = performance.now();
    const tell = (type, detail) => this.dispatchEvent(new CustomEvent(type, { detail }));
    stream.addEventListener('about', (event) => {
      const about = JSON.parse(event.data);
      this.#token = about.token;
      if (this.#about && this.#about.model !== about.model) return location.reload(); // another arm
      tell('about', (this.#about = about));
    });
    stream.addEventListener('state', (event) => {
      this.#heard = performance.now();
      tell('state', JSON.parse(event.data));
    });
    stream.addEventListener('wire', (event) => tell('wire', JSON.parse(event.data)));
    stream.addEventListener('error', () => this.#lost());
  }

  #close() {
    this.#stream?.close();
    this.#stream = null;
  }

  #lost() {
    this.#close();
    this.dispatchEvent(new Event('lost'));
  }

  #check() {
    if (this.#stream && performance.now() - this.#heard > silence) this.#lost();
    if (!this.#stream && !document.hidden) this.#open();
  }
}
