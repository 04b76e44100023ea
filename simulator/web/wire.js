// The last lines on the wire of the chosen arm, filtered, held still, copied, kept.
import { link } from './links.js';
import { Lines } from './lines.js';
import { element, get, write } from './parts.js';
import { soon } from './soon.js';

const shown = 200;
const interval = 100; // ms between two drawings
const arrows = { '->': '→', '<-': '←', '--': '·' };
const words = { '->': 'request', '<-': 'reply', '--': '' };

export class Wire {
  #lines = new Lines();
  #held = false;
  #chosen = null; // the number of a line
  #list = get('lines');
  #filter = get('filter');
  #client = get('wire-client');
  #drawSoon = soon(() => this.#draw(), interval);

  constructor() {
    const button = (id, click) => get(id).addEventListener('click', click);
    link(this.#filter, 'filter');
    this.#filter.addEventListener('input', () => this.#draw(true));
    this.#client.addEventListener('input', () => this.#draw(true));
    button('wire-pause', ({ target }) => {
      this.#held = !this.#held;
      target.setAttribute('aria-pressed', String(this.#held));
      this.#draw();
    });
    button('wire-copy', () => this.#copy());
    button('wire-save', () => Object.assign(element('a'), {
      download: 'wire.txt', href: URL.createObjectURL(new Blob([this.#text()], { type: 'text/plain' })) }).click());
    button('wire-clear', () => {
      this.#lines.all = [];
      this.#draw(true);
    });
    this.#list.addEventListener('click', ({ target }) => this.#choose(target.closest('li')?.line));
    this.#list.addEventListener('keydown', (event) => {
      const way = { ArrowUp: 'previousSibling', ArrowDown: 'nextSibling' }[event.key];
      if (!way) return;
      event.preventDefault();
      const here = [...this.#list.children].find(({ line }) => line.number === this.#chosen);
      let next = here ? here[way] : this.#list.lastChild;
      while (next?.line.gap) next = next[way];
      this.#choose(next?.line);
    });
  }

  /** Shows the lines of an arm. */
  use(lines) {
    this.#lines = lines;
    this.#client.length = 1; // all of them
    this.#draw(true);
  }

  /** There are more lines. */
  tell() {
    if (!this.#held) this.#drawSoon();
  }

  #matching() {
    const wanted = this.#filter.value.toLowerCase().split(/\s+/).filter(Boolean);
    const client = this.#client.value;
    return this.#lines.all.filter((line) => line.gap ? !wanted.length && !client
      : (!client || String(line.client) === client)
        && wanted.every((word) => `${words[line.direction]} ${line.text}`.toLowerCase().includes(word)));
  }

  /** What is there stays as it is, so that a place and a selection last. @param anew other lines are wanted */
  #draw(anew = false) {
    const { scrollTop, clientHeight, scrollHeight } = this.#list;
    const atEnd = scrollTop + clientHeight >= scrollHeight - 4;
    const selected = getSelection();
    const marked = !selected.isCollapsed && this.#list.contains(selected.anchorNode);
    for (const client of [...this.#lines.clients].slice(this.#client.length - 1))
      this.#client.append(new Option(`client ${client}`, client));
    if (!this.#held || anew) {
      const wanted = this.#matching().slice(-shown);
      const there = new Set(wanted);
      for (const item of [...this.#list.children])
        if (anew || (atEnd && !marked && !there.has(item.line))) item.remove();
      const after = this.#list.lastChild?.line;
      this.#list.append(...wanted.slice(wanted.indexOf(after) + 1).map((line) => this.#item(line)));
      if (atEnd && !marked) this.#list.scrollTop = this.#list.scrollHeight;
    }
    for (const item of this.#list.children) this.#update(item);
    write(get('wire-count'), this.#held ? 'held' : '');
  }

  #item(line) {
    const { gap, time, client, direction, text } = line;
    const item = Object.assign(element('li', gap ? 'gap' : '', gap ? text : ''), { line });
    if (gap) return item;
    item.classList.toggle('refusal', direction === '<-' && /:\s*false|"error"/.test(text));
    item.append(element('span', 'time', time.toFixed(3)), element('span', 'client', client ? String(client) : ''),
                element('span', 'direction', arrows[direction]), element('span', 'took'),
                element('span', direction === '->' ? 'request' : 'reply', text));
    return item;
  }

  #update(item) {
    const { line } = item;
    if (line.took !== undefined) write(item.querySelector('.took'), `${line.took.toFixed(0)} ms`);
    const chosen = this.#chosen !== null && [line.number, line.partner].includes(this.#chosen);
    item.classList.toggle('chosen', chosen);
  }

  /** Marks a line, and its request or reply. */
  #choose(line) {
    if (!line || line.gap || !getSelection().isCollapsed) return;
    this.#chosen = line.number;
    for (const item of this.#list.children) {
      this.#update(item);
      if (item.line === line) item.scrollIntoView({ block: 'nearest' });
    }
  }

  #text() {
    return this.#matching().map(({ gap, time, client, direction, took, text: line }) => gap ? `(${line})`
      : [time.toFixed(3), `client ${client}`, direction, took === undefined ? '' : `${took.toFixed(1)} ms`, line].join('\t'))
      .join('\n') + '\n';
  }

  #copy() {
    const note = (done) => write(get('wire-count'), done ? 'copied' : 'cannot copy');
    if (navigator.clipboard) return navigator.clipboard.writeText(this.#text()).then(() => note(true), () => note(false));
    getSelection().selectAllChildren(this.#list); // a page from another machine may use no clipboard by itself
    note(document.execCommand('copy'));
  }
}
