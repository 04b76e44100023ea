// Faults on demand: the line in which one is asked for, and those that go on.

const get = (id) => document.getElementById(id);

export class Faults {
  #shown = '';
  #act;

  constructor(act) {
    this.#act = act;
    get('fault-form').addEventListener('submit', (event) => {
      event.preventDefault(); // the page's policy lets no form be sent anyway
      if (get('fault').value.trim()) act({ act: 'fault', text: get('fault').value });
    });
  }

  build({ faults }) {
    get('fault-forms').replaceChildren(...faults.map(([name, parameters, help]) => {
      const option = document.createElement('option');
      option.value = name + (parameters ? ' ' : '');
      option.label = `${name} ${parameters} \u2013 ${help}`;
      return option;
    }));
  }

  show({ faults }) {
    if (faults.join() === this.#shown) return;
    this.#shown = faults.join();
    get('faults').replaceChildren(...faults.map((text) => {
      const button = document.createElement('button');
      button.textContent = text;
      button.title = 'End this fault';
      button.setAttribute('aria-label', `End ${text}`);
      button.addEventListener('click', () => this.#act({ act: 'fault', text: `${text.trim().split(/\s/)[0]} off` }));
      return button;
    }));
  }
}
