// Puts the page together: what comes from the controller goes to its views, what is clicked goes to the controller.
// Stops are at work before anything is drawn, and whatever becomes of the drawing.
import { Controller } from './controller.js';
import { Faults } from './faults.js';
import { Jog } from './jog.js';
import { keep, link, wished } from './links.js';
import { Machine } from './machine.js';
import { Panel } from './panel.js';
import { get, write } from './parts.js';
import { Plots } from './plots.js';
import { buildTabs } from './tabs.js';
import { Waypoints } from './waypoints.js';
import { Wire } from './wire.js';

const controller = new Controller();
let state = null;
let now = 0; // s, of the arm
let clock = -Infinity; // what it shows, s
const idleClock = 5; // s between two of its steps while nothing else changes: each costs a frame of the screen
const showClock = () => write(get('clock'), `${Math.floor((clock = now))} s`);

let forget = 0;
function tell(refused) {
  if (!refused) return;
  write(get('message'), refused[0].toUpperCase() + refused.slice(1));
  get('message').classList.add('shown');
  clearTimeout(forget);
  forget = setTimeout(() => get('message').classList.remove('shown'), 4000);
}
const act = async (request) => tell(await controller.act(request));

const click = (id, handle) => get(id).addEventListener('click', handle);
click('emergency-stop', () => act({ act: 'emergency_stop' }));
click('stop', () => act({ act: 'stop' }));
addEventListener('keydown', ({ key }) => key === 'Escape' && act({ act: 'stop' }), true);
click('pause', () => act({ act: state?.paused ? 'continue' : 'pause' }));
click('clear-errors', () => act({ act: 'clear_errors' }));
click('power', () => act({ act: 'power', on: !state?.power }));

/** Of an arm that somebody else moves: what is known of it, and since when. */
function showSource({ source }, about) {
  const said = source.joints && source.joints !== about.hinges.length ? 'other-arm'
    : source.age === null ? 'unheard' : source.age > 2 ? 'silent' : 'looking on';
  document.body.dataset.mode = said;
  const words = { 'other-arm': 'another arm', unheard: 'nothing heard yet', silent: 'silent' };
  write(get('mode'), words[said] ?? said);
  write(get('running'), said === 'other-arm'
    ? `${about.source} has ${source.joints} joints; this page is told model ${about.model}`
    : `${about.source}${source.age === null ? '' : `, last reply ${source.age < 2 ? 'now' : `${source.age} s ago`}`}`);
}

function showMode(about) {
  const { mode, running, errors, power, paused, held } = state;
  document.body.dataset.mode = mode;
  write(get('mode'), mode);
  const others = held && held.page !== controller.name ? `another page at ${held.from} holds ${held.what}` : '';
  const waiting = running?.waiting ? `, ${running.waiting} waiting` : '';
  write(get('running'), others || (running
    ? running.command === 'jog' ? '' : `${running.command}, motion ${running.number}${waiting}` : ''));
  write(get('errors'), errors.join(', '));
  write(get('pause'), paused ? 'Continue' : 'Pause');
  get('pause').disabled = !paused && !running;
  get('clear-errors').disabled = errors.length === 0;
  get('power').setAttribute('aria-pressed', String(power));
  write(get('power'), power ? 'Power on' : 'Power off');
  if (!about.simulated) showSource(state, about);
}

let about = null;
const lose = (why) => {
  state = null;
  document.body.dataset.mode = 'lost';
  write(get('mode'), why);
  write(get('running'), '');
  write(get('errors'), '');
};
controller.addEventListener('about', ({ detail }) => {
  about = detail;
  document.body.classList.toggle('onlooker', !about.simulated);
  write(get('model'), `Arm ${about.model}`);
  write(get('port'), `port ${about.port}`);
});
controller.addEventListener('lost', () => lose('no connection'));
controller.addEventListener('full', ({ detail }) => lose(detail));
controller.addEventListener('time', ({ detail: time }) => {
  now = time;
  if (time < clock || time - clock >= idleClock) showClock();
  plots.tick(time);
});
let noticed = null;
controller.addEventListener('state', ({ detail }) => {
  state = detail;
  showClock();
  const { number, text } = state.notice ?? { number: 0 };
  if (noticed !== null && number > noticed) tell(text);
  noticed = number;
  if (about) showMode(about);
});

buildTabs();
const jog = new Jog(controller, tell);
const waypoints = new Waypoints(jog);
const panel = new Panel(controller, tell, jog);
const wire = new Wire();
const faults = new Faults(act);
const machine = new Machine();
/** A past state in place of the present one, or the present one again. */
let look = () => {};
const plots = new Plots((past) => {
  if (state) look(past ?? state);
});
let built = false;
controller.addEventListener('about', () => {
  wire.restart();
  plots.restart();
  if (built) return;
  built = true;
  if (!about.simulated && !wished('tab')) get('tab-curves').click(); // there is nothing to move
  faults.build(about);
  panel.build(about);
  waypoints.build(about);
});
controller.addEventListener('wire', ({ detail }) => {
  wire.add(detail);
  for (const [, time, client, direction, text] of detail)
    if (direction === '--') plots.mark(time, client ? `client ${client} ${text}` : text);
    else if (direction === '->' && !/"command":\s*"get_|canfd|canfp/.test(text))
      plots.mark(time, `client ${client} ${/"command":\s*"(\w+)/.exec(text)?.[1] ?? ''}`);
});
controller.addEventListener('gap', () => plots.gap());
controller.addEventListener('state', () => {
  plots.add(state);
  panel.show(state);
  machine.show(state);
  jog.show(state);
  waypoints.show(state);
  faults.show(state);
});

/** The drawing takes its time, and may not be possible in 3D. */
async function draw() {
  const element = get('view');
  let view;
  try {
    const { ArmView } = await import('./arm.js');
    view = new ArmView(element, (to) => act({ act: 'lead', to }));
  } catch {
    const { Drawing } = await import('./drawing.js');
    view = new Drawing(element);
    document.body.classList.add('plain');
    get('hint').hidden = false;
    write(get('hint'), 'no 3D in this browser: the arm is drawn flat');
  }
  let drawn = false;
  const show = () => {
    if (!state || !about) return;
    if (!drawn) {
      view.build(about);
      if (wished('view')) view.view(wished('view'));
    }
    drawn = true;
    get('teach').setAttribute('aria-pressed', String(state.teaching));
    if (!view.plain) get('hint').hidden = !state.teaching;
    if (!plots.looksBack) view.show(state, now);
  };
  look = (shown) => {
    view.breakTrail();
    if (drawn) view.show(shown, now);
  };
  controller.addEventListener('gap', () => view.breakTrail());
  controller.addEventListener('state', show);
  show();
  click('teach', () => act({ act: 'teach', on: !state?.teaching }));
  click('clear-trail', () => view.clearTrail());
  for (const button of document.querySelectorAll('[data-view]'))
    button.addEventListener('click', () => {
      view.view(button.dataset.view);
      keep('view', button.dataset.view);
    });
}

link(get('plot-of'), 'plot');
draw();
