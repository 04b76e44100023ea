// Puts the page together: what comes from the controller goes to its views, what is clicked goes to the controller.
// Stops are at work before anything is drawn, and whatever becomes of the drawing.
import { Arms } from './arms.js';
import { Controller } from './controller.js';
import { Faults } from './faults.js';
import { Jog } from './jog.js';
import { Lines } from './lines.js';
import { keep, link, wished } from './links.js';
import { Machine } from './machine.js';
import { Panel } from './panel.js';
import { get, write } from './parts.js';
import { Past } from './past.js';
import { Plots } from './plots.js';
import { buildTabs } from './tabs.js';
import { Waypoints } from './waypoints.js';
import { Wire } from './wire.js';

const controller = new Controller();
let arms = []; // { about, state, past, lines, noticed }
const chosen = () => arms[controller.arm];
let clock = -Infinity; // what it shows, s
const idleClock = 5; // s between two of its steps while nothing else changes: each costs a frame of the screen
const showClock = () => write(get('clock'), `${Math.floor((clock = chosen().past.now))} s`);

let forget = 0;
function tell(refused) {
  if (!refused) return;
  write(get('message'), refused[0].toUpperCase() + refused.slice(1));
  get('message').classList.add('shown');
  clearTimeout(forget);
  forget = setTimeout(() => get('message').classList.remove('shown'), 4000);
}
const act = async (...request) => tell(await controller.act(...request));

const click = (id, handle) => get(id).addEventListener('click', handle);
click('emergency-stop', () => act({ act: 'emergency_stop' }));
click('stop', () => act({ act: 'stop' }));
addEventListener('keydown', ({ key }) => key === 'Escape' && act({ act: 'stop' }, 'all'), true);
click('pause', () => act({ act: chosen()?.state?.paused ? 'continue' : 'pause' }));
click('clear-errors', () => act({ act: 'clear_errors' }));
click('power', () => act({ act: 'power', on: !chosen()?.state?.power }));

const strip = new Arms((arm) => choose(arm), act);

/** Of an arm that somebody else moves: what is known of it, and since when. */
function showSource({ source }, about) {
  if (plots.showsRecording) {
    showMode('recording');
    return write(get('running'), about.source);
  }
  const { joints, strange } = source;
  const said = strange || (joints && joints !== about.hinges.length) ? 'other-arm'
    : source.age === null ? 'unheard' : source.age > 2 ? 'silent' : 'looking on';
  showMode(said, { 'other-arm': 'another arm', unheard: 'nothing heard yet' }[said] ?? said);
  write(get('running'), said === 'other-arm'
    ? `${about.source} has ${joints || 'other'} joints; this page is told model ${about.model}`
    : `${about.source}${source.age === null ? '' : `, last reply ${source.age < 2 ? 'now' : `${source.age} s ago`}`}`);
}

function showMode(mode, words = mode) {
  document.body.dataset.mode = get('status').dataset.mode = mode;
  write(get('mode'), words);
}

function showState({ about, state }) {
  const { mode, running, errors, power, paused, held } = state;
  showMode(mode);
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

buildTabs();
const jog = new Jog(controller, tell);
const waypoints = new Waypoints(jog);
const panel = new Panel(controller, tell, jog);
const wire = new Wire();
const faults = new Faults(act);
const machine = new Machine();
let view = null; // the drawing, when there is one
const plots = new Plots((past, time, goesOn) => {
  if (!chosen()?.state) return;
  const shown = past ? { ...chosen().state, planned: null, ...past } : chosen().state;
  if (plots.showsRecording) panel.show(shown);
  if (!goesOn) view?.breakTrail();
  view?.show(controller.arm, shown, time ?? chosen().past.now);
});
link(get('plot-of'), 'plot');

/** All that is of one arm at a time is now of this one. */
function choose(arm) {
  controller.arm = arm;
  const { about, lines } = chosen();
  if (arms.length > 1) keep('arm', arm + 1);
  document.body.classList.toggle('onlooker', !about.simulated);
  write(get('model'), `Arm ${about.model}`);
  write(get('port'), `port ${about.port}`);
  strip.choose(arm);
  view?.choose(arm);
  jog.restart();
  panel.build(about);
  waypoints.build(about);
  wire.use(lines);
  lookBack();
}

function showAll(arm) {
  const { state } = arm;
  showClock();
  showState(arm);
  if (plots.showsRecording) plots.again();
  else panel.show(state);
  machine.show(state);
  jog.show(state);
  waypoints.show(state);
  faults.show(state);
  get('teach').setAttribute('aria-pressed', String(state.teaching));
}

function build({ arms: told, faults: forms }) {
  arms = told.map((about) => ({ about, state: null, past: new Past(), lines: new Lines(), noticed: null }));
  faults.build(forms);
  strip.build(told);
  choose(Math.min(arms.length, Math.max(1, Math.trunc(Number(wished('arm'))) || 1)) - 1);
  if (arms[0].about.simulated) return;
  if (!wished('tab')) get('tab-curves').click(); // there is nothing to move
  if (arms[0].about.recording) offerRecording();
}

let recording = null;
function lookBack() {
  plots.use(recording && get('plot-source').value === 'recording' ? recording : chosen().past);
  if (chosen().state) showAll(chosen());
}

/** What was recorded is looked at like the past of an arm. */
async function offerRecording() {
  try {
    recording = Past.of(await (await fetch('/recording')).json());
  } catch ({ message }) {
    return tell(`the recording is not shown: ${message}`);
  }
  get('plot-source').hidden = false;
  get('plot-source').addEventListener('input', lookBack);
  lookBack();
}

const lose = (why) => {
  for (const arm of arms) arm.state = null;
  showMode('lost', why);
  write(get('running'), '');
  write(get('errors'), '');
  arms.forEach((_, i) => strip.show(i, { mode: 'lost' }));
};
const hear = (kind, handle) => controller.addEventListener(kind, handle);
hear('about', ({ detail }) => {
  for (const { lines, past } of arms) lines.restart(), past.restart();
  if (arms.length) lookBack();
  else build(detail);
});
hear('lost', () => lose('no connection'));
hear('full', ({ detail }) => lose(detail));
hear('gap', () => {
  for (const { past } of arms) past.gap();
  view?.breakTrail();
});
hear('time', ({ detail: time, arm }) => {
  arms[arm].past.now = time;
  if (arm !== controller.arm) return;
  if (time < clock || time - clock >= idleClock) showClock(), plots.tell();
});
hear('wire', ({ detail, arm }) => {
  const { lines, past } = arms[arm];
  lines.add(detail);
  for (const [, time, client, direction, text] of detail)
    if (direction === '--') past.mark(time, client ? `client ${client} ${text}` : text);
    else if (direction === '->' && !/"command":\s*"get_|canfd|canfp/.test(text))
      past.mark(time, `client ${client} ${/"command":\s*"(\w+)/.exec(text)?.[1] ?? ''}`);
  if (arm === controller.arm) wire.tell(), plots.tell();
});
hear('state', ({ detail: state, arm }) => {
  const entry = arms[arm];
  entry.state = state;
  if (state.source?.age !== null) entry.past.add(state); // else nothing is known of it yet
  const { number, text } = state.notice ?? { number: 0 };
  if (entry.noticed !== null && number > entry.noticed) tell(arms.length > 1 ? `arm ${arm + 1}: ${text}` : text);
  entry.noticed = number;
  strip.show(arm, state);
  if (arm === controller.arm) showAll(entry), plots.tell();
  draw(arm);
  furnishSoon();
});

/** Draws an arm as it is, unless somebody looks at its past. */
function draw(arm) {
  if (!view || !arms[arm].state || (arm === controller.arm && plots.looksBack)) return;
  view.show(arm, arms[arm].state, arms[arm].past.now);
  if (!view.plain && arm === controller.arm) get('hint').hidden = !arms[arm].state.teaching;
}

/** The drawing takes its time, so it comes when all else has been seen. */
let furnishes = false;
function furnishSoon() {
  if (!furnishes) requestAnimationFrame(() => setTimeout(furnish));
  furnishes = true;
}

/** It may not be possible in 3D. */
async function furnish() {
  const element = get('view');
  let made;
  try {
    const { Room } = await import('./room.js');
    made = new Room(element, (to) => act({ act: 'lead', to }), (arm) => arm !== controller.arm && choose(arm));
  } catch {
    const { Drawing } = await import('./drawing.js');
    made = new Drawing(element);
    document.body.classList.add('plain');
    get('hint').hidden = false;
    write(get('hint'), 'no 3D in this browser: the arm is drawn flat');
  }
  made.build(arms.map(({ about }) => about));
  made.choose(controller.arm);
  if (wished('view')) made.view(wished('view'));
  view = made;
  arms.forEach((_, i) => draw(i));
  plots.again();
  click('teach', () => act({ act: 'teach', on: !chosen()?.state?.teaching }));
  click('clear-trail', () => view.clearTrail());
  for (const button of document.querySelectorAll('[data-view]'))
    button.addEventListener('click', () => {
      view.view(button.dataset.view);
      keep('view', button.dataset.view);
    });
}
