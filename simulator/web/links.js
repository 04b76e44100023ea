// The address says what is shown, so that it can be kept, and sent to somebody: #tab=curves&view=side
const told = new URLSearchParams(location.hash.slice(1));
addEventListener('hashchange', () => location.reload());

export const wished = (name) => told.get(name);

/** From now on the address says so. */
export function keep(name, value) {
  if (value) told.set(name, value);
  else told.delete(name);
  history.replaceState(null, '', `#${told}`);
}

/** A field whose value stands in the address. A choice that there is not leaves what was chosen. */
export function link(field, name) {
  const usual = field.value;
  if (told.has(name)) field.value = told.get(name);
  if (field.selectedIndex === -1) field.value = usual;
  field.addEventListener('input', () => keep(name, field.value));
}
