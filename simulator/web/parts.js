// What the parts of the page are made of: elements, numbers, buttons that are held, bars.

export const element = (tag, className = '', textContent = '') =>
  Object.assign(document.createElement(tag), { className, textContent });
export const get = (id) => document.getElementById(id);
const minus = (text) => text.replace('-', '\u2212');
export const fixed = (value, digits) => minus((Math.abs(value) < 0.5 * 10 ** -digits ? 0 : value).toFixed(digits));
export const degrees = (radians) => (radians * 180) / Math.PI;

/** Sets a text, but not what it is already. */
export function write(node, text) {
  if (node.textContent !== text) node.textContent = text;
}

/** A button that acts as long as it is held, by pointer or by key; `hold` begins it and returns what ends it. */
export function holdButton(text, label, hold) {
  const button = element('button', 'key', text);
  button.setAttribute('aria-label', label);
  let release = null;
  const begin = (event) => {
    event.preventDefault();
    if (event.pointerId !== undefined) button.setPointerCapture(event.pointerId);
    release ??= hold();
    button.classList.add('held');
  };
  const end = () => {
    release?.();
    release = null;
    button.classList.remove('held');
  };
  button.addEventListener('pointerdown', (event) => event.button === 0 && begin(event));
  for (const type of ['pointerup', 'pointercancel', 'lostpointercapture', 'blur']) button.addEventListener(type, end);
  button.addEventListener('keydown', (event) => [' ', 'Enter'].includes(event.key) && !event.repeat && begin(event));
  button.addEventListener('keyup', end);
  button.addEventListener('contextmenu', (event) => event.preventDefault());
  return button;
}

/** A bar with its value marked, filled from zero; returns what moves it. */
export function bar() {
  const track = element('div', 'bar');
  const zero = element('b');
  const fill = element('i');
  track.append(zero, fill);
  const place = (value, low, high) => Math.max(0, Math.min(1, (value - low) / (high - low))) * 100;
  const set = (value, low, high) => {
    const from = place(0, low, high);
    const to = place(value, low, high);
    zero.style.left = `${from}%`;
    fill.style.left = `${Math.min(from, to)}%`;
    fill.style.width = `${Math.abs(to - from)}%`;
    fill.classList.toggle('negative', to < from);
  };
  return { track, set };
}
