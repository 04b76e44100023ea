// Places that the arm has been shown: taken, played one after the other, and made a program of.
import { element, get } from './parts.js';
import { standsAt } from './jog.js';
import { program } from './program.js';

export class Waypoints {
  #jog;
  #state = null;
  #about = null;
  #places = [];

  constructor(jog) {
    this.#jog = jog;
    const click = (id, handle) => get(id).addEventListener('click', handle);
    click('place-take', () => this.#state && this.#keep([...this.#places, standsAt(this.#state, get('target-kind').value)]));
    click('place-play', () => this.#play());
    click('place-clear', () => this.#keep([]));
    for (const [id, language] of [['place-cpp', 'cpp'], ['place-python', 'py']])
      click(id, () => Object.assign(element('a'), {
        download: `waypoints.${language}`,
        href: URL.createObjectURL(new Blob([this.program(language)], { type: 'text/plain' })),
      }).click());
  }

  /** The places of one model are kept in the browser. */
  build(about) {
    this.#about = about;
    this.#state = null;
    try {
      this.#places = JSON.parse(localStorage.getItem(this.#key) ?? '[]');
      this.#list();
    } catch { // what another version kept, or nothing may be
      this.#keep([]);
    }
  }

  show(state) {
    this.#state = state;
  }

  program(language) {
    const { model, port } = this.#about;
    return program(language, { host: location.hostname.replace(/^\[|\]$/g, ''), port, model,
                               percent: this.#jog.percent, places: this.#places });
  }

  get #key() {
    return `waypoints of ${this.#about.model}`;
  }

  #keep(places) {
    this.#places = places;
    try {
      localStorage.setItem(this.#key, JSON.stringify(places));
    } catch { /* where nothing is kept, they are there until the page goes */ }
    this.#list();
  }

  async #play() {
    for (const place of this.#places) if (await this.#jog.go(place)) return;
  }

  #list() {
    get('places').replaceChildren(...this.#places.map((place, i) => {
      const item = element('li');
      const words = (place.joints ?? place.pose).map((value) => value.toFixed(1)).join('  ');
      const button = (text, label, act) => {
        const made = element('button', '', text);
        made.setAttribute('aria-label', `${label} ${i + 1}`);
        made.addEventListener('click', act);
        return made;
      };
      item.append(element('span', 'name', place.joints ? 'joints' : place.line ? 'line' : 'pose'),
                  element('span', 'number', words), button('Go', 'Go to waypoint', () => this.#jog.go(place)),
                  button('\u00d7', 'Remove waypoint', () => this.#keep(this.#places.filter((_, j) => j !== i))));
      return item;
    }));
    for (const id of ['place-play', 'place-cpp', 'place-python', 'place-clear']) get(id).disabled = !this.#places.length;
  }
}
