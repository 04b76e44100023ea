// Several arms side by side: which one is worked with, how each of them is, and a stop for each and for all.
import { element, get, write } from './parts.js';

export class Arms {
  #chips = [];
  #choose;
  #act;

  /**
   * @param choose called with the number of the arm to work with, from 0
   * @param act asks for an action of an arm
   */
  constructor(choose, act) {
    this.#choose = choose;
    this.#act = act;
    get('stop-all').addEventListener('click', () => act({ act: 'stop' }, 'all'));
  }

  /** One needs no choice. */
  build(arms) {
    get('arms').hidden = arms.length < 2;
    this.#chips = arms.map(({ model, port, simulated }, i) => {
      const chip = element('div', 'chip');
      const choice = element('button');
      const mode = element('span', 'note', 'connecting');
      choice.append(element('i', 'lamp'), element('b', '', `${i + 1}`), `Arm ${model}`, mode);
      choice.title = `Work with arm ${i + 1}, model ${model}, port ${port}`;
      choice.addEventListener('click', () => this.#choose(i));
      const stop = element('button', 'strong', 'Stop');
      stop.setAttribute('aria-label', `Stop arm ${i + 1}`);
      stop.addEventListener('click', () => this.#act({ act: 'stop' }, i));
      chip.append(choice, stop);
      return { chip, choice, mode };
    });
    get('chips').replaceChildren(...this.#chips.map(({ chip }) => chip));
  }

  choose(arm) {
    this.#chips.forEach(({ choice }, i) => choice.setAttribute('aria-pressed', String(i === arm)));
  }

  show(arm, { mode }) {
    const { chip, mode: words } = this.#chips[arm];
    if (chip.dataset.mode === mode) return;
    chip.dataset.mode = mode;
    write(words, mode);
  }
}
