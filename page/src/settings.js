// What is set: seven values, each a float from 0 to 1, and the name of the preset they come from. With undo, and as a
// link.

export class Settings extends EventTarget {
  // parameters: those of the effect, in the order of their indices.
  constructor(parameters) {
    super();
    this.parameters = parameters;
    this.current = { values: parameters.map(({ initial }) => initial), name: 'Init' };
    this.past = [];
    this.future = [];
  }

  get values() {
    return this.current.values;
  }
  get name() {
    return this.current.name;
  }

  // From here on there is something to undo.
  start(settings) {
    this.#change(settings);
  }

  // A change that belongs to the one before it, such as a step of a drag, is undone with it.
  set(index, value, belongsToLast = false) {
    const values = this.values.with(index, Math.fround(Math.min(1, Math.max(0, value))));
    this.replace({ values, name: this.name }, belongsToLast);
  }

  replace(settings, belongsToLast = false) {
    if (isSame(settings, this.current)) return;
    if (!belongsToLast) this.past.push(this.current);
    this.future = [];
    this.#change(settings);
  }

  undo() {
    if (this.past.length === 0) return;
    this.future.push(this.current);
    this.#change(this.past.pop());
  }

  redo() {
    if (this.future.length === 0) return;
    this.past.push(this.current);
    this.#change(this.future.pop());
  }

  #change(settings) {
    this.current = settings;
    this.dispatchEvent(new Event('change'));
  }

  // As "sense=0.4&invert=on", by which readLink() has them again to the bit.
  link() {
    const pairs = this.parameters.map((parameter) => [
      spelling(parameter.name),
      textOf(parameter, this.values[parameter.index]),
    ]);
    return new URLSearchParams([...pairs, ['name', this.name]]).toString();
  }

  // Throws Error that says what is wrong.
  readLink(text) {
    const values = [...this.parameters.map(({ initial }) => initial)];
    let name = 'Init';
    for (const [key, value] of new URLSearchParams(text)) {
      if (key === 'name') name = value.replace(/[^\x20-\x7e]/g, '').slice(0, 23);
      else {
        const parameter = findParameter(this.parameters, key);
        values[parameter.index] = valueOf(parameter, value);
      }
    }
    return { values, name };
  }
}

function isSame(a, b) {
  return a.name === b.name && a.values.every((value, index) => value === b.values[index]);
}

// "On/Off" as `wail` spells it in its options and its automation: "on-off".
function spelling(name) {
  return name.toLowerCase().replace('/', '-');
}

// The parameter of a name in any spelling of its letters, as `wail` takes it.
export function findParameter(parameters, name) {
  const letters = (text) => text.toLowerCase().replace(/[^a-z]/g, '');
  const found = parameters.find((parameter) => letters(parameter.name) === letters(name));
  if (!found)
    throw new Error(`no parameter '${name}'; there are ${parameters.map((p) => spelling(p.name)).join(', ')}`);
  return found;
}

// value: a number from 0 to 1, as a number or a text, or for a switch "on" or "off".
export function valueOf(parameter, value) {
  if (value === 'on' || value === 'off') {
    if (parameter.isSwitch) return value === 'on' ? 1 : 0;
  } else if (value !== '' && Number(value) >= 0 && Number(value) <= 1) {
    return Math.fround(Number(value));
  }
  const wanted = parameter.isSwitch ? 'neither "on" nor "off"' : 'not a number from 0 to 1';
  throw new Error(`'${spelling(parameter.name)}': '${value}' is ${wanted}`);
}

// The shortest number that is the same float.
function textOf({ isSwitch }, value) {
  if (isSwitch) return value === 1 ? 'on' : 'off';
  for (let digits = 1; digits < 9; ++digits) {
    const text = Number(value.toPrecision(digits));
    if (Math.fround(text) === value) return `${text}`;
  }
  return `${value}`;
}
