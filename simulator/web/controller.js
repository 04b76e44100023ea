// The connection to the controller: listens to its stream, asks it for actions, and comes back by itself. What comes of
// an arm bears its number, and what is asked for is done by the chosen one.
import { Stream } from './stream.js';

const look = 1000; // ms
const silence = 3000; // ms without a word, after which the connection counts as lost
const patience = 2000; // ms for an action
const confirmHold = 100; // ms; the controller lets go of what is not confirmed

export class Controller extends EventTarget {
  /** What this page calls itself when it holds something. */
  name = Array.from(crypto.getRandomValues(new Uint32Array(2)), (part) => part.toString(16)).join('');

  arm = 0; // the chosen one

  #token = '';
  #about = '';
  #heard = -Infinity;
  #holds = 0;
  #watch;

  constructor() {
    super();
    this.#watch = this.#begin();
    // A page that nobody sees needs no stream, and whatever comes after that is no continuation.
    const heed = () => {
      if (document.hidden) this.dispatchEvent(new Event('gap'));
      this.#watch(!document.hidden);
    };
    document.addEventListener('visibilitychange', heed);
    addEventListener('pagehide', () => this.#watch(false));
    addEventListener('pageshow', heed);
    setInterval(() => this.#check(), look);
  }

  /** Asks for an action, of the chosen arm unless it says which, or "all"; resolves to why it was not done, or to nothing. */
  async act(request, arm = this.arm) {
    if (!this.#token) return 'not done: there is no connection to the controller yet';
    const end = new AbortController();
    const timer = setTimeout(() => end.abort(), patience);
    try {
      const reply = await fetch('/act', {
        method: 'POST',
        headers: { 'Content-Type': 'application/json', 'X-Token': this.#token },
        body: JSON.stringify({ ...request, arm: arm === 'all' ? arm : arm + 1 }),
        signal: end.signal,
      });
      if (reply.ok) return '';
      return reply.status === 409 ? await reply.text() : `not done: the controller answered ${reply.status}`;
    } catch {
      return 'not certain to be done: the controller does not answer';
    } finally {
      clearTimeout(timer);
    }
  }

  /** Holds something until the function that it returns is called. */
  hold(request, refused) {
    const { arm } = this;
    const mine = { page: this.name, hold: ++this.#holds };
    let held = true;
    const begun = this.act({ ...request, ...mine }, arm);
    const confirm = async (why) => {
      if (!held) return;
      if (!why) return void setTimeout(async () => held && confirm(await this.act({ act: 'confirm', ...mine }, arm)), confirmHold);
      held = false;
      refused(why);
    };
    begun.then(confirm);
    return () => {
      if (!held) return;
      held = false;
      begun.then((why) => {
        refused(why);
        this.act({ act: 'release', ...mine }, arm); // which must not overtake the begin
      });
    };
  }

  /** Returns what is to be called with whether this window is seen. */
  #begin() {
    const alone = () => {
      const stream = new Stream((...news) => this.#take(...news));
      return (watches) => (watches ? stream.open() : stream.close());
    };
    let watch;
    try {
      const worker = new SharedWorker('/worker.js', { type: 'module' });
      worker.port.onmessage = ({ data: news }) => this.#take(...news);
      worker.onerror = () => {
        this.#watch = alone();
        this.#watch(!document.hidden);
      };
      watch = (watches) => worker.port.postMessage(watches);
    } catch {
      watch = alone();
    }
    watch(!document.hidden);
    return watch;
  }

  #take(kind, data, arm) {
    if (document.hidden) return;
    if (kind === 'lost') return this.#lost();
    const detail = JSON.parse(data);
    this.#heard = kind === 'full' ? -Infinity : performance.now();
    if (kind === 'about') {
      const { token, ...about } = detail;
      const known = JSON.stringify(about);
      if (this.#about && this.#about !== known) return location.reload(); // another arm, or another one who answers
      const fresh = this.#token !== token;
      this.#about = known;
      this.#token = token;
      if (!fresh) return;
    }
    this.dispatchEvent(Object.assign(new CustomEvent(kind, { detail }), { arm }));
  }

  #lost() {
    this.#heard = -Infinity;
    this.dispatchEvent(new Event('gap'));
    this.dispatchEvent(new Event('lost'));
  }

  #check() {
    if (document.hidden || performance.now() - this.#heard < silence) return;
    if (this.#heard > 0) this.#lost();
    this.#watch(true);
  }
}
