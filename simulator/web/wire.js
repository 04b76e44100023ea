// The last lines on the wire: filtered, held still, copied.
import { write } from './parts.js';
import { soon } from './soon.js';

const kept = 2000;
const shown = 200;
const interval = 100; // ms between two drawings
const arrows = { '->': '→', '<-': '←', '--': '·' };
const words = { '->': 'request', '<-': 'reply', '--': '' };

export class Wire {
  #lines = [];
  #heldLines = null;
  #last = 0;
  #list = document.getElementById('lines');
  #filter = document.getElementById('filter');
  #drawSoon = soon(() => this.#draw(), interval);

  constructor() {
    const button = (id, click) => document.getElementById(id).addEventListener('click', click);
    this.#filter.addEventListener('input', () => this.#draw());
    button('wire-pause', ({ target }) => {
      this.#heldLines = this.#heldLines ? null : this.#lines.slice();
      target.setAttribute('aria-pressed', String(this.#heldLines !== null));
      this.#draw();
    });
    button('wire-copy', () => this.#copy());
    button('wire-clear', () => {
      this.#lines = [];
      if (this.#heldLines) this.#heldLines = [];
      this.#draw();
    });
  }

  /** Of a controller that counts its lines from the beginning. */
  restart() {
    this.#last = 0;
  }

  add(lines) {
    for (const [number, time, client, direction, text] of lines) {
      if (number <= this.#last) continue;
      if (this.#last && number > this.#last + 1)
        this.#lines.push({ gap: true, text: `${number - this.#last - 1} lines not shown` });
      this.#last = number;
      this.#lines.push({ time, client, direction, text });
    }
    this.#lines.splice(0, this.#lines.length - kept);
    if (!this.#heldLines) this.#drawSoon();
  }

  #chosen() {
    const wanted = this.#filter.value.toLowerCase().split(/\s+/).filter(Boolean);
    const matches = ({ gap, direction, text }) =>
      !wanted.length || (!gap && wanted.every((word) => `${words[direction]} ${text}`.toLowerCase().includes(word)));
    return (this.#heldLines ?? this.#lines).filter(matches).slice(-shown);
  }

  #draw() {
    const atEnd = this.#list.scrollTop + this.#list.clientHeight >= this.#list.scrollHeight - 4;
    const span = (className, text) => Object.assign(document.createElement('span'), { className, textContent: text });
    this.#list.replaceChildren(...this.#chosen().map(({ gap, time, client, direction, text }) => {
      const item = document.createElement('li');
      if (gap) {
        item.className = 'gap';
        item.textContent = text;
        return item;
      }
      item.classList.toggle('refusal', direction === '<-' && /:\s*false|"error"/.test(text));
      item.append(span('time', time.toFixed(3)), span('client', String(client)), span('direction', arrows[direction]),
                  span(direction === '->' ? 'request' : 'reply', text));
      return item;
    }));
    if (atEnd) this.#list.scrollTop = this.#list.scrollHeight;
    write(document.getElementById('wire-count'), this.#heldLines ? 'held' : '');
  }

  #copy() {
    const text = this.#chosen().map(({ gap, time, client, direction, text: line }) =>
      gap ? `(${line})` : `${time.toFixed(3)}\tclient ${client}\t${direction}\t${line}`).join('\n') + '\n';
    const note = (done) => write(document.getElementById('wire-count'), done ? 'copied' : 'cannot copy');
    if (navigator.clipboard) return navigator.clipboard.writeText(text).then(() => note(true), () => note(false));
    getSelection().selectAllChildren(this.#list); // a page from another machine may use no clipboard by itself
    note(document.execCommand('copy'));
  }
}
