// Of all that is written on the page, and in its picture, what stands out too little from what is behind it.
const light = (colour) => [0, 1, 2].map((i) => colour[i] / 255)
  .map((c) => (c <= 0.04045 ? c / 12.92 : ((c + 0.055) / 1.055) ** 2.4))
  .reduce((sum, c, i) => sum + c * [0.2126, 0.7152, 0.0722][i], 0) + 0.05;
const read = (text) => (([r, g, b, a = 1]) => [r, g, b, a])(text.match(/[\d.]+/g).map(Number));
const over = (top, below) => [0, 1, 2].map((i) => top[i] * top[3] + below[i] * (1 - top[3]));
const ground = (node) => {
  const own = read(getComputedStyle(node).backgroundColor);
  return own[3] === 1 ? own : over(own, ground(node.parentElement));
};
const thin = (node) => (node ? getComputedStyle(node).opacity * thin(node.parentElement) : 1);
const writes = (node) => node.checkVisibility({ checkVisibilityCSS: true }) && node.tagName !== 'OPTION'
  && (node.matches('select, input:not([type=range])')
    || [...node.childNodes].some((child) => child.nodeType === 3 && child.data.trim()));
const pairs = () => [...document.querySelectorAll('body *')].filter(writes).map((node) => {
  const [r, g, b, a] = read(getComputedStyle(node).color);
  return [node.textContent || node.id, over([r, g, b, a * thin(node)], ground(node)), ground(node)];
});
document.querySelector('#message').classList.add('shown');
for (const id of ['message', 'errors', 'running']) document.querySelector('#' + id).textContent = id;
const all = [...document.querySelectorAll('[role=tab]')].flatMap((tab) => (tab.click(), pairs()));
const style = getComputedStyle(document.documentElement);
const named = (name) => [0, 2, 4].map((i) => parseInt(style.getPropertyValue(name).trim().slice(1 + i, 3 + i), 16));
for (const name of ['soft', 'axisx', 'axisy', 'axisz', 'accent'])
  all.push([name, named('--3d-' + name), named('--3d-background')]);
for (const name of ['blue', 'amber', 'red'])
  all.push([name, named('--' + name), named('--surface')], [name, named('--' + name), named('--paper')]);
const contrast = (a, b) => Math.max(light(a) / light(b), light(b) / light(a));
return all.filter(([, ink, paper]) => contrast(ink, paper) < 4.5).map(([text]) => text); // as WCAG 2.2 has it
