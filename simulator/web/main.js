// Puts the page together: what comes from the controller goes to its views, what is clicked goes to the controller.
import { ArmView } from './arm.js';
import { Controller } from './controller.js';
import { Faults } from './faults.js';
import { Panel, write } from './panel.js';
import { Wire } from './wire.js';

const get = (id) => document.getElementById(id);

let forget = 0;
function tell(refused) {
  if (!refused) return;
  write(get('message'), refused[0].toUpperCase() + refused.slice(1));
  get('message').classList.add('shown');
  clearTimeout(forget);
  forget = setTimeout(() => get('message').classList.remove('shown'), 4000);
}

const controller = new Controller();
const act = async (request) => tell(await controller.act(request));
const arm = new ArmView(get('view'), (to) => act({ act: 'lead', to }));
const panel = new Panel(controller, tell);
const wire = new Wire();
const faults = new Faults(act);

let state = null;
let built = false;
controller.addEventListener('about', ({ detail: about }) => {
  write(get('model'), `Arm ${about.model}`);
  write(get('port'), `port ${about.port}`);
  wire.restart();
  if (built) return;
  built = true;
  document.body.classList.toggle('onlooker', !about.simulated);
  faults.build(about);
  arm.build(about);
  panel.build(about);
});
controller.addEventListener('wire', ({ detail }) => wire.add(detail));
controller.addEventListener('lost', () => {
  state = null;
  document.body.dataset.mode = 'lost';
  write(get('mode'), 'no connection');
  write(get('running'), '');
  write(get('errors'), '');
});
controller.addEventListener('state', ({ detail }) => {
  state = detail;
  const { mode, running, errors, power, paused, teaching } = state;
  document.body.dataset.mode = mode;
  write(get('mode'), mode);
  const waiting = running?.waiting ? `, ${running.waiting} waiting` : '';
  write(get('running'), running ? `${running.command} ${running.number}${waiting}` : '');
  write(get('errors'), errors.join(', '));
  write(get('clock'), `${state.time.toFixed(1)} s`);
  write(get('pause'), paused ? 'Continue' : 'Pause');
  get('pause').disabled = !paused && !running;
  get('clear-errors').disabled = errors.length === 0;
  for (const [id, on] of [['power', power], ['teach', teaching]]) get(id).setAttribute('aria-pressed', String(on));
  get('hint').hidden = !teaching;
  write(get('power'), power ? 'Power on' : 'Power off');
  arm.show(state);
  panel.show(state);
  faults.show(state);
});

const click = (id, handle) => get(id).addEventListener('click', handle);
click('pause', () => act({ act: state?.paused ? 'continue' : 'pause' }));
click('stop', () => act({ act: 'stop' }));
click('emergency-stop', () => act({ act: 'emergency_stop' }));
click('clear-errors', () => act({ act: 'clear_errors' }));
click('power', () => act({ act: 'power', on: !state?.power }));
click('teach', () => act({ act: 'teach', on: !state?.teaching }));
click('clear-trail', () => arm.clearTrail());
for (const button of document.querySelectorAll('[data-view]'))
  button.addEventListener('click', () => arm.view(button.dataset.view));
