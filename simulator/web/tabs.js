// The leaves of the panel, of which one is seen.
import { element, get } from './parts.js';
import { keep, wished } from './links.js';

export function buildTabs() {
  const leaves = [...document.querySelectorAll('[role="tabpanel"]')];
  const tabs = leaves.map((leaf) => {
    const tab = Object.assign(element('button', '', leaf.getAttribute('aria-label')), { id: `tab-${leaf.id}` });
    tab.setAttribute('role', 'tab');
    tab.setAttribute('aria-controls', leaf.id);
    return tab;
  });
  const show = (chosen) => leaves.forEach((leaf, i) => {
    leaf.hidden = i !== chosen;
    tabs[i].setAttribute('aria-selected', String(i === chosen));
    tabs[i].tabIndex = i === chosen ? 0 : -1;
  });
  const choose = (i) => {
    show(i);
    keep('tab', leaves[i].id);
  };
  tabs.forEach((tab, i) => {
    tab.addEventListener('click', () => choose(i));
    tab.addEventListener('keydown', ({ key }) => {
      const step = { ArrowRight: 1, ArrowLeft: -1 }[key];
      if (!step) return;
      const seen = tabs.filter(({ offsetParent }) => offsetParent); // an onlooker has fewer
      const next = seen.at((seen.indexOf(tab) + step) % seen.length);
      choose(tabs.indexOf(next));
      next.focus();
    });
  });
  get('tabs').append(...tabs);
  show(Math.max(0, leaves.findIndex(({ id }) => id === wished('tab'))));
}
