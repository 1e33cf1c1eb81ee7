// The parameters as the plug-in declares them: a row each, an effect's switch and amount in one.

const passo = p => [0.001, 0.002, 0.005, 0.01, 0.02].find(s => s >= (p.maximum - p.minimum) / 200) ?? 0.05;
const testo = v => String(Math.round(v * 10000) / 10000);
export const id = n => document.getElementById(n);
export const el = (nome, cose = {}, ...figli) => {
  const e = Object.assign(document.createElement(nome), cose);
  e.append(...figli);
  return e;
};

function menu(p, azioni) {
  const s = el("select", {id: p.name, title: p.hint ?? ""}, ...p.options.map(o => el("option", {textContent: o})));
  s.onchange = () => azioni.cambia(p.name, s.value);
  return s;
}

function cursore(p, azioni) {
  const c = el("input", {type: "range", id: p.name, min: p.minimum, max: p.maximum, step: passo(p), title: p.hint ?? ""});
  const scritto = el("input", {type: "text", id: p.name + "-testo", inputMode: "decimal", title: p.hint ?? ""});
  c.setAttribute("aria-label", p.label);
  scritto.setAttribute("aria-label", p.label + ", as a number");
  c.oninput = () => { scritto.value = testo(c.value); azioni.trascina(p.name, Number(c.value)); };
  c.onchange = () => azioni.cambia(p.name, c.value);
  c.onkeydown = e => {
    if (e.key === "Delete" || e.key === "Backspace") azioni.cambia(p.name, p.default);
    const verso = {ArrowUp: 1, ArrowRight: 1, ArrowDown: -1, ArrowLeft: -1}[e.key];
    if (!verso || !e.shiftKey) return;
    e.preventDefault();
    c.value = Number(c.value) + 10 * verso * passo(p);
    azioni.cambia(p.name, c.value);
  };
  scritto.onchange = () => azioni.cambia(p.name, scritto.value.trim());
  scritto.onkeydown = e => {
    const verso = {ArrowUp: 1, ArrowDown: -1}[e.key];
    if (e.key === "Escape") { azioni.ridisegna(); scritto.blur(); }
    if (!verso) return;
    e.preventDefault();
    const v = Number(scritto.value) + verso * passo(p) * (e.shiftKey ? 10 : 1);
    azioni.cambia(p.name, testo(Math.min(p.maximum, Math.max(p.minimum, v))));
  };
  return [c, scritto];
}

function interruttore(p, azioni) {
  const s = el("input", {type: "checkbox", id: p.name, title: p.hint ?? ""});
  s.onchange = () => azioni.cambia(p.name, s.checked ? "on" : "off");
  return s;
}

/** Builds all rows into a form; returns what shows a state in them. */
export function costruisci(modulo, dichiarati, effetti, azioni) {
  const quantita = new Map(effetti), diEffetto = new Set(quantita.values());
  const per = Object.fromEntries(dichiarati.map(p => [p.name, p]));
  const righe = [];
  let prima = "";
  for (const p of dichiarati) {
    if (diEffetto.has(p.name)) continue;
    const ampiezza = p.kind === "number" ? p : per[quantita.get(p.name)];
    const etichetta = el("label", {htmlFor: p.name, textContent: p.label.trim(), title: p.hint ?? p.label.trim()});
    const r = el("div", {className: "riga"});
    if (p.kind === "switch") r.append(interruttore(p, azioni));
    else etichetta.className = "intera";
    r.append(etichetta, ...(p.kind === "choice" ? [menu(p, azioni)] : cursore(ampiezza, azioni)));
    if (prima && prima !== p.kind) r.classList.add("capo");
    prima = p.kind;
    r.ondblclick = e => {
      if (e.target.tagName === "SELECT" || e.target.type === "checkbox") return;
      azioni.riporta(p.kind === "switch" ? [ampiezza] : [p]);
    };
    modulo.append(r);
    righe.push({p, ampiezza, r});
  }
  modulo.onsubmit = e => e.preventDefault();

  return ({impostazioni: {parameters: valori, keys = {}}, nascosti}) => {
    for (const {p, ampiezza, r} of righe) {
      const e = id(p.name);
      r.hidden = nascosti.includes(p.name);
      if (p.kind === "switch") e.checked = valori[p.name];
      if (p.kind === "choice") e.value = valori[p.name];
      if (ampiezza) {
        const v = valori[ampiezza.name];
        id(ampiezza.name).value = v;
        id(ampiezza.name + "-testo").value = keys[ampiezza.name] ? "keys" : testo(v);
      }
      r.classList.toggle("spenta", p.kind === "switch" && !valori[p.name]);
      const fabbrica = p.kind === "choice" ? p.options[p.default] : p.default;
      r.classList.toggle("mossa", valori[p.name] !== fabbrica || (!!ampiezza && valori[ampiezza.name] !== ampiezza.default && valori[p.name] !== false));
    }
  };
}
