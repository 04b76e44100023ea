// Faults on demand: put together from their names and parameters into the line that asks for one, and those that go on.
import { element, get, write } from './parts.js';

const units = { MS: 'ms', SHARE: '0 to 1', VOLTS: 'V', KG: 'kg', WIDTH: 'mm', X: 'N', Y: 'N', Z: 'N', SECONDS: 's', BYTES: 'bytes' };

/** The parameters that a form of words has: "MS [jitter MS]", "CHANNEL on|off", "COMMAND...". */
const parameters = (form) => [...form.matchAll(/\[(\w+) (\w+)\]|(\S+)/g)].map(([, word, optional, plain]) => ({
  word, name: word ?? plain.toLowerCase().replace('...', 's'), unit: units[optional ?? plain],
  choices: plain?.includes('|') ? plain.split('|') : null, wordy: plain?.startsWith('COMMAND'),
}));

export class Faults {
  #shown = '';
  #act;
  #forms = new Map();
  #fields = [];

  constructor(act) {
    this.#act = act;
    get('fault-kind').addEventListener('change', () => this.#ask());
    get('fault-form').addEventListener('submit', (event) => {
      event.preventDefault(); // the page's policy lets no form be sent anyway
      if (get('fault').value.trim()) act({ act: 'fault', text: get('fault').value });
    });
  }

  /** @param forms of words in which faults are asked for */
  build(forms) {
    this.#forms = new Map(forms.map(([name, form, help]) => [name, { parameters: parameters(form), help }]));
    get('fault-kind').replaceChildren(...forms.map(([name]) => new Option(name)));
    this.#ask();
  }

  /** Fields for the parameters of the chosen fault. */
  #ask() {
    const { parameters, help } = this.#forms.get(get('fault-kind').value);
    write(get('fault-help'), help);
    this.#fields = parameters.map(({ name, unit, choices, wordy, word }) => {
      const label = element('label', 'field', [name, unit && unit !== name && `(${unit})`].filter(Boolean).join(' '));
      const field = choices ? element('select') : Object.assign(element('input', 'number'), { type: 'text' });
      if (choices) field.append(...choices.map((choice) => new Option(choice)));
      else if (wordy) field.placeholder = 'movej movel';
      if (word) field.placeholder = 'as usual';
      field.addEventListener('input', () => this.#compose());
      label.append(field);
      return { label, field, word };
    });
    get('fault-fields').replaceChildren(...this.#fields.map(({ label }) => label));
    this.#compose();
  }

  #compose() {
    const words = this.#fields.flatMap(({ field, word }) =>
      !field.value.trim() ? [] : word ? [word, field.value.trim()] : [field.value.trim()]);
    get('fault').value = [get('fault-kind').value, ...words].join(' ');
  }

  show({ faults }) {
    if (faults.join() === this.#shown) return;
    this.#shown = faults.join();
    get('faults').replaceChildren(...faults.map((text) => {
      const button = element('button', '', text);
      button.title = 'End this fault';
      button.setAttribute('aria-label', `End ${text}`);
      button.addEventListener('click', () => this.#act({ act: 'fault', text: `${text.trim().split(/\s/)[0]} off` }));
      return button;
    }));
  }
}
