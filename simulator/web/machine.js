// What else there is of the arm and of what it carries, in rows of words.
import { degrees, element, fixed, get, write } from './parts.js';

const pose = (values) => values.map((value, i) => fixed(i < 3 ? value * 1000 : degrees(value), 1)).join('  ');
const list = (values, digits = 0) => values.map((value) => fixed(value, digits)).join('  ');
const frame = (active) => ({ name, pose: place, mass }) =>
  [`${name === active ? '● ' : ''}${name}`, pose(place) + (mass ? `, ${fixed(mass, 2)} kg` : '')];

/** Rows of a name and what is to be said of it. */
function rows({ machine, toolName, workName }) {
  const { tools, works, temperatures, collisionStage, installation, hand, lift, base, modbus } = machine;
  return [
    ['Tool frames', 'mm, °', tools.map(frame(toolName))],
    ['Work frames', 'mm, °', works.map(frame(workName))],
    ['Arm', '', [
      ['payload on the flange', `${fixed(machine.payload, 2)} kg`],
      ['temperatures', `${list(temperatures)} °C`],
      ['collision stage', collisionStage ? `${collisionStage} of 8` : 'off'],
      ['installed at', `${list(installation, 1)} °`],
    ]],
    ['Around it', '', [
      ['hand, ‰ stretched', list(hand)],
      ['lift', `${fixed(lift, 0)} mm`],
      ['base', `${base.state}${base.station ? `, station ${base.station}` : ''}, `
        + `x ${fixed(base.x, 2)} y ${fixed(base.y, 2)} m, ${fixed(degrees(base.heading), 0)}°, ${fixed(base.charge * 100, 0)} %`],
      ['Modbus ports', modbus.map((open, i) => `${i ? 'tool' : 'controller'} ${open ? 'open' : 'closed'}`).join(', ')],
    ]],
  ];
}

export class Machine {
  #shown = '';

  show(state) {
    const told = rows(state);
    const shape = JSON.stringify(told.map(([title, , lines]) => [title, lines.map(([name]) => name)]));
    if (shape !== this.#shown) this.#build(told);
    this.#shown = shape;
    const values = get('machine-rows').querySelectorAll('.value');
    told.flatMap(([, , lines]) => lines).forEach(([, value], i) => write(values[i], value));
  }

  #build(told) {
    get('machine-rows').replaceChildren(...told.map(([title, unit, lines]) => {
      const section = element('section');
      const heading = element('div', 'heading');
      heading.append(element('h2', '', title), element('span', 'note', unit));
      section.append(heading, ...lines.map(([name]) => {
        const row = element('div', 'row');
        row.append(element('span', 'name', name), element('span', 'value number'));
        return row;
      }));
      return section;
    }));
  }
}
