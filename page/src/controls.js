// Knobs and switches of the effect's parameters, on Settings.

const kTravel = 220; // CSS pixels of a drag from 0 to 1
const kFineTravel = 5; // times as far with Shift held
const kArc = 75; // per cent of the circle that a knob turns

const element = (html) => {
  const template = document.createElement('template');
  template.innerHTML = html.trim();
  return template.content.firstElementChild;
};

// explain: one sentence on what it does. valueText(index, value): the value as the effect shows it. say(text): tells
// what is wrong with what was typed.
export function makeControl(parameter, settings, { explain, valueText, say }) {
  const control = parameter.isSwitch
    ? makeSwitch(parameter, settings)
    : makeKnob(parameter, settings, valueText, say);
  control.root.append(element(`<p class="explain" id="explain-${parameter.index}">${explain}</p>`));
  control.focusable.setAttribute('aria-describedby', `explain-${parameter.index}`);
  control.show();
  return control;
}

function makeSwitch({ index, name }, settings) {
  const root = element(`
    <div class="control switch">
      <span class="name" id="name-${index}">${name}</span>
      <button type="button" role="switch" aria-labelledby="name-${index}"><span class="track"></span><span class="value"></span></button>
    </div>`);
  const button = root.querySelector('button');
  button.addEventListener('click', () => settings.set(index, settings.values[index] === 1 ? 0 : 1));
  const show = () => {
    const isOn = settings.values[index] === 1;
    button.setAttribute('aria-checked', `${isOn}`);
    root.querySelector('.value').textContent = isOn ? 'on' : 'off';
  };
  return { root, focusable: button, show };
}

function makeKnob({ index, name, initial }, settings, valueText, say) {
  const root = element(`
    <div class="control knob">
      <span class="name" id="name-${index}">${name}</span>
      <div class="dial" role="slider" tabindex="0" aria-labelledby="name-${index}" aria-valuemin="0" aria-valuemax="10">
        <svg viewBox="0 0 100 100" aria-hidden="true">
          <circle class="ring" cx="50" cy="50" r="42" pathLength="100" stroke-dasharray="${kArc} 100" />
          <circle class="arc" cx="50" cy="50" r="42" pathLength="100" />
          <circle class="cap" cx="50" cy="50" r="31" />
          <line class="pointer" x1="50" y1="27" x2="50" y2="39" />
        </svg>
      </div>
      <button type="button" class="value"><span class="text"></span><span class="hidden">, type a value for ${name}</span></button>
    </div>`);
  const dial = root.querySelector('.dial');
  const value = root.querySelector('button.value');
  const set = (to, belongsToLast) => settings.set(index, to, belongsToLast);

  const show = () => {
    const now = settings.values[index];
    root.querySelector('.arc').setAttribute('stroke-dasharray', `${kArc * now} 100`);
    root.querySelector('.pointer').setAttribute('transform', `rotate(${(now - 0.5) * 3.6 * kArc} 50 50)`);
    const text = valueText(index, now);
    dial.setAttribute('aria-valuenow', (10 * now).toFixed(2));
    dial.setAttribute('aria-valuetext', control.mark ? `${text}, ${control.mark}` : text);
    value.querySelector('.text').textContent = text;
  };
  const control = { root, focusable: dial, show, mark: '' };

  addDrag(dial, () => settings.values[index], set);
  addKeys(
    dial,
    () => settings.values[index],
    (to) => set(to),
    initial,
    (text) => typeValue(text),
  );
  dial.addEventListener('dblclick', () => set(initial));
  value.addEventListener('click', () => typeValue(null));

  function typeValue(text) {
    const input = element(`<input class="value" inputmode="decimal" aria-label="${name}, 0 to 10" maxlength="8">`);
    input.value = text ?? valueText(index, settings.values[index]);
    value.replaceWith(input);
    input.focus();
    if (text === null) input.select();
    let isOpen = true;
    const end = (keep, back) => {
      if (!isOpen) return;
      isOpen = false; // taking it away blurs it
      const typed = Number(input.value.trim().replace(',', '.') || NaN);
      input.replaceWith(value);
      if (keep && typed >= 0 && typed <= 10) set(typed / 10);
      else if (keep) say(`“${input.value}” is not a value of ${name}; type a number from 0 to 10.`);
      show();
      if (back) dial.focus();
    };
    input.addEventListener('keydown', (event) => {
      if (event.key === 'Enter') end(true, true);
      if (event.key === 'Escape') end(false, true);
      event.stopPropagation();
    });
    input.addEventListener('blur', () => end(true, false));
  }
  return control;
}

// Up and to the right is more.
function addDrag(dial, get, set) {
  let last = null;
  let exact = 0;
  let hasMoved = false;
  dial.addEventListener('pointerdown', (event) => {
    if (event.button !== 0) return;
    dial.setPointerCapture(event.pointerId);
    dial.focus();
    event.preventDefault();
    last = event;
    exact = get();
    hasMoved = false;
  });
  dial.addEventListener('pointermove', (event) => {
    if (!last) return;
    const way = event.clientX - last.clientX - (event.clientY - last.clientY);
    last = event;
    if (way === 0) return;
    exact = Math.min(1, Math.max(0, exact + way / (event.shiftKey ? kTravel * kFineTravel : kTravel)));
    const before = get();
    set(exact, hasMoved);
    hasMoved ||= get() !== before;
  });
  for (const type of ['pointerup', 'pointercancel']) dial.addEventListener(type, () => (last = null));
}

function addKeys(dial, get, set, initial, type) {
  const steps = { ArrowUp: 0.01, ArrowRight: 0.01, ArrowDown: -0.01, ArrowLeft: -0.01, PageUp: 0.1, PageDown: -0.1 };
  dial.addEventListener('keydown', (event) => {
    if (event.ctrlKey || event.metaKey || event.altKey) return;
    if (event.key in steps) set(get() + steps[event.key] * (event.shiftKey ? 0.1 : 1));
    else if (event.key === 'Home') set(0);
    else if (event.key === 'End') set(1);
    else if (event.key === 'Delete' || event.key === 'Backspace') set(initial);
    else if (event.key === 'Enter') type(null);
    else if (/^[0-9.,]$/.test(event.key)) type(event.key);
    else return;
    event.preventDefault();
  });
}
