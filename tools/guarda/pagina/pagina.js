// The page: its state, what leads from one to the next, and when which picture is asked for.
import {chiedi, chiediJson, chiediQuadro, di} from "/rete.js";
import {costruisci, el, id} from "/comandi.js";
import * as tela from "/quadro.js";
import {misura} from "/strumenti.js";

const QUIETE = 160;  // ms without a wish until the picture is asked for in full
const inizio = await chiediJson("/inizio");
const numeri = inizio.numeri.flatMap(([a, b]) => Array.from({length: b - a + 1}, (_, i) => a + i));
const pagina = crypto.randomUUID();

let stato = {impostazioni: inizio.impostazioni, nascosti: inizio.nascosti};
let b = null, fotogramma = 0, turno = 0;
const passato = [], futuro = [];

// --- The picture ---------------------------------------------------------------------------------

const CONFRONTI = {registrata: "as recorded", neutro: "neutral", b: "B"};
const scelto = () => document.querySelector("[name=confronto]:checked").value;
const qui = () => ({numero: numeri[fotogramma]});
const adesso = () => ({...qui(), impostazioni: stato.impostazioni});
const forma = intero => intero ? {forma: "png"} : {forma: "jpeg", ...tela.riquadro()};
let inVolo = false, ancora = false, riposo = 0;

async function prendi(intero) {
  const mio = ++turno;
  const resa = await chiediQuadro({...adesso(), pagina, turno: mio, ...forma(intero)});
  if (!resa || (intero && mio !== turno)) return;
  tela.posa(tela.quadro, resa);
  tela.quadro.dataset.mostra = intero ? "riposo" : "moto";
  tela.quadro.dispatchEvent(new CustomEvent("mostrato", {detail: {intero}}));
  if (!id("strumenti").hidden) requestAnimationFrame(() => misura(tela.quadro, intero ? 1 << 20 : 1 << 17));
}

/** The newest wish is rendered at the shown size, and in full when no other follows. */
async function desidera() {
  clearTimeout(riposo);
  tela.quadro.dataset.mostra = "moto";
  ++turno;
  ancora = true;
  if (inVolo) return;
  inVolo = true;
  try {
    while (ancora) {
      ancora = false;
      await prendi(false);
    }
    clearTimeout(riposo);
    riposo = setTimeout(riposa, QUIETE);
  } catch { tela.quadro.dataset.mostra = "guasto"; /* told on the line; the last picture stays */ }
  inVolo = false;
}

async function riposa() {
  try {
    const mio = turno + 1;
    await Promise.all([prendi(true), confronta(true)]);
    if (mio === turno) await miniature(mio);
  } catch { tela.quadro.dataset.mostra = "guasto"; }
}

let confrontato = "";  // what the other canvas holds
let confronti = 0;
async function confronta(intero) {
  const quale = scelto();
  if (!quale) return;
  const impostazioni = {registrata: undefined, neutro: stato.impostazioni, b: b?.impostazioni}[quale];
  const desiderio = {...qui(), impostazioni, vista: quale, neutro: quale === "neutro", ...forma(intero)};
  const chiave = JSON.stringify(desiderio);
  if (chiave === confrontato) return;
  const mio = ++confronti;
  const resa = await chiediQuadro(desiderio);
  if (mio !== confronti || quale !== scelto()) return;  // a newer one is asked for
  tela.posa(tela.confronto, resa);
  confrontato = chiave;
}

// --- The looks -----------------------------------------------------------------------------------

const LOOK = inizio.dichiarati.parameters.find(p => p.name === "look");
const accesi = inizio.effetti.map(([interruttore]) => interruttore);
let disegnate = "";

async function miniature(mio) {
  const {look, ...altri} = stato.impostazioni.parameters;
  const chiave = JSON.stringify([altri, stato.impostazioni.keys, fotogramma]);
  if (chiave === disegnate) return;
  for (const campo of document.querySelectorAll("#looks input")) {
    const {width, height} = campo.nextElementSibling;
    const resa = await chiediQuadro({...adesso(), forma: "jpeg", larghezza: width * 2, altezza: height,
      ...(campo.value === "-1" ? {neutro: true} : {cambi: ["look=" + LOOK.options[campo.value], "forza=1"]})});
    if (mio !== turno) return;  // something is moved: later
    tela.riempi(campo.nextElementSibling, resa.immagine);
  }
  disegnate = id("looks").dataset.pronti = chiave;
}

function strisciaDeiLook() {
  ["Neutral", ...LOOK.options].forEach((nome, n) => {
    const campo = el("input", {type: "radio", name: "look", value: n - 1});
    const piccola = el("canvas", {width: 192, height: 108});
    piccola.setAttribute("aria-hidden", "true");
    id("looks").append(el("label", {}, campo, piccola, el("span", {textContent: nome})));
    // A click on the one that is chosen loads its recipe again; arrow keys click too.
    campo.onclick = () => n === 0 ? passa({neutro: true})
      : passa({cambi: ["look=" + nome, ...(stato.impostazioni.parameters.forza === 0 ? ["forza=1"] : [])]});
  });
}

// --- The state -----------------------------------------------------------------------------------

const righe = costruisci(id("parametri"), inizio.dichiarati.parameters, inizio.effetti, {
  cambia: (nome, valore) => passa({cambi: [`${nome}=${valore}`]}, nome),
  riporta: quali => passa({cambi: quali.map(p => `${p.name}=${p.default}`)}),
  ridisegna: () => ridisegna(),
  trascina(nome, valore) {
    preso ??= structuredClone(stato);
    stato.impostazioni.parameters[nome] = valore;
    delete stato.impostazioni.keys?.[nome];
    desidera();
  },
});
let preso = null, ultimoNome = "", ultimaVolta = 0;  // before a slider was moved; the last change

function ridisegna() {
  righe(stato);
  const p = stato.impostazioni.parameters;
  const neutro = p.forza === 0 && accesi.every(n => !p[n]);
  const n = neutro ? -1 : LOOK.options.indexOf(p.look);
  for (const campo of document.querySelectorAll("#looks input")) campo.checked = Number(campo.value) === n;
  id("annulla").disabled = !passato.length;
  id("ripeti").disabled = !futuro.length;
  document.querySelector("[name=confronto][value=b]").disabled = !b;
  id("fotogramma").value = fotogramma;
  id("numero").textContent = numeri[fotogramma];
  sessionStorage.setItem("tavolo", JSON.stringify({corsa: inizio.corsa, stato, b, fotogramma,
    confronto: scelto(), taglio: tela.taglio, strumenti: !id("strumenti").hidden}));
}

let coda = Promise.resolve();  // one change after the other, each on what the last one left
/** To what the plug-in makes of changes, or of other settings; steps of one slider are one change. */
function passa(come, nome = "") {
  tela.quadro.dataset.mostra = "moto";
  coda = coda.then(async () => {
    const prima = preso ?? structuredClone(stato);
    preso = null;
    try {
      const nuovo = await chiediJson("/stato", {impostazioni: prima.impostazioni, ...come});
      const insieme = nome && nome === ultimoNome && performance.now() - ultimaVolta < 700;
      if (!insieme) passato.push(prima);
      futuro.length = 0;
      [ultimoNome, ultimaVolta] = [nome, performance.now()];
      stato = nuovo;
    } catch {
      stato = prima;
    }
    ridisegna();
    desidera();
  });
  return coda;
}

function torna(da, a) {
  tela.quadro.dataset.mostra = "moto";
  coda = coda.then(() => {
    if (da.length) {
      a.push(structuredClone(stato));
      stato = da.pop();
      ultimoNome = "";
      ridisegna();
    }
    desidera();
  });
}

function vaiA(n) {
  fotogramma = Math.min(numeri.length - 1, Math.max(0, n));
  ridisegna();
  desidera();
}

async function scegliConfronto(quale) {
  tela.quadro.dataset.mostra = "moto";
  document.querySelector(`[name=confronto][value="${quale}"]`).checked = true;
  confrontato = "";
  ridisegna();
  try { await confronta(false); } catch { /* told */ }
  tela.mostraTendina(CONFRONTI[quale] ?? "");
  desidera();
}

// --- Files and the clipboard ---------------------------------------------------------------------

function scarica(nome, blob) {
  const a = el("a", {href: URL.createObjectURL(blob), download: nome});
  a.click();
  setTimeout(() => URL.revokeObjectURL(a.href), 10000);
  di(`saved ${nome}`);
}
const comando = () => chiediJson("/comando", adesso());

const AZIONI = {
  annulla: () => torna(passato, futuro),
  ripeti: () => torna(futuro, passato),
  azzera: () => passa({impostazioni: inizio.impostazioni}),
  carica: () => id("file").click(),
  salva: () => scarica("settings.json", new Blob([JSON.stringify(stato.impostazioni, null, 2) + "\n"], {type: "application/json"})),
  async immagine() {
    const [{nome}, risposta] = await Promise.all([comando(), chiedi("/quadro", {...adesso(), forma: "file"})]);
    scarica(nome, await risposta.blob());
  },
  async comando() {
    const testo = (await comando()).comando;
    try {
      await navigator.clipboard.writeText(testo);
      di(`copied: ${testo}`);
    } catch {
      di(testo);  // a click there selects it
    }
    id("messaggio").dataset.comando = testo;
  },
  aiuto: () => id("tasti").showModal(),
  tieni() {
    b = structuredClone(stato);
    ridisegna();
    scegliConfronto("b");
  },
  async fine() {
    await chiedi("/fine");
    di("provino has ended; this page may be closed");
  },
};
for (const [nome, fai] of Object.entries(AZIONI)) id(nome).onclick = () => Promise.resolve(fai()).catch(() => {});
id("file").onchange = async () => {
  const [file] = id("file").files;
  id("file").value = "";
  if (!file) return;
  try {
    await passa({impostazioni: JSON.parse(await file.text())});
  } catch {
    di(`${file.name} is no JSON`, true);
  }
};
for (const r of document.querySelectorAll("[name=confronto]")) r.onchange = () => scegliConfronto(r.value);
id("fotogramma").oninput = () => vaiA(Number(id("fotogramma").value));

// --- The pointer and the keys --------------------------------------------------------------------

let cercato = null, cerca = false;
id("vista").addEventListener("pointermove", async e => {
  cercato = tela.pixel(e);
  if (!cercato) id("punto").textContent = "";
  if (!cercato || cerca) return;
  cerca = true;
  try {
    while (cercato) {
      const p = cercato;
      const {valori} = await chiediJson("/punto", {...qui(), ...p});
      const cifre = v => v.map(n => n === null ? "nan" : n.toFixed(3)).join(" ");
      id("punto").innerHTML = `<b>${p.x}, ${p.y}</b> &ensp;<b>in</b> ${cifre(valori)} &ensp;<b>out</b> ${cifre(tela.valoreMostrato(p).map(v => v / 255))}`;
      if (cercato === p) cercato = null;
    }
  } catch { /* told */ }
  cerca = false;
});

const vicino = verso => {
  const campi = [...document.querySelectorAll("#looks input")];
  campi[(campi.findIndex(c => c.checked) + verso + campi.length) % campi.length].click();
};
// Key, what it does in words, what it does.
const TASTI = [
  ["← →", "frame before, frame behind", e => vaiA(fotogramma + (e.key === "ArrowLeft" ? -1 : 1)), "ArrowLeft", "ArrowRight"],
  ["[ ]", "look before, look behind", e => vicino(e.key === "[" ? -1 : 1), "[", "]"],
  ["W", "wipe: off, as recorded, neutral, B", () => {
    const tutti = ["", "registrata", "neutro", ...(b ? ["b"] : [])];
    scegliConfronto(tutti[(tutti.indexOf(scelto()) + 1) % tutti.length]);
  }, "w"],
  [", .", "wipe to the left, to the right", e => tela.taglia(tela.taglio + (e.key === "," ? -0.02 : 0.02)), ",", "."],
  ["B", "keep this as B", AZIONI.tieni, "b"],
  ["F", "fit, or one pixel a pixel", () => tela.alterna(), "f"],
  ["+ −", "zoom", e => tela.gradino(e.key === "-" ? -1 : 1), "+", "-", "="],
  ["H", "scopes", () => { id("strumenti").hidden = !id("strumenti").hidden; ridisegna(); misura(tela.quadro, 1 << 20); }, "h"],
  ["Z, Shift+Z", "undo, redo (Ctrl+Z and Ctrl+Y too)", e => e.shiftKey ? AZIONI.ripeti() : AZIONI.annulla(), "z"],
  ["Y", "redo", AZIONI.ripeti, "y"],
  ["R", "all parameters as provino began", AZIONI.azzera, "r"],
  ["C", "copy the command that makes this", AZIONI.comando, "c"],
  ["S, L", "save settings, load settings", e => e.key === "l" ? AZIONI.carica() : AZIONI.salva(), "s", "l"],
  ["I", "save this frame", AZIONI.immagine, "i"],
  ["?", "these keys", AZIONI.aiuto, "?"],
];
const ALTRI = [["Tab", "from control to control"], ["↑ ↓, with Shift", "on a slider: a step, ten steps"],
  ["Delete", "on a slider: its default; a double click on the row too"]];
id("tasti").querySelector("dl").append(...[...TASTI, ...ALTRI].flatMap(([tasto, parole]) =>
  [el("dt", {textContent: tasto}), el("dd", {textContent: parole})]));
document.addEventListener("keydown", e => {
  const dove = e.target, freccia = e.key.startsWith("Arrow");
  if (id("tasti").open || e.altKey || dove.tagName === "SELECT" || dove.type === "text") return;
  if (freccia && ["range", "radio"].includes(dove.type)) return;
  const tasto = e.key.length === 1 ? e.key.toLowerCase() : e.key;
  if ((e.ctrlKey || e.metaKey) && tasto !== "z" && tasto !== "y") return;
  const trovato = TASTI.find(t => t.slice(3).includes(tasto));
  if (!trovato) return;
  e.preventDefault();
  Promise.resolve(trovato[2]({key: tasto, shiftKey: e.shiftKey})).catch(() => {});
});

// --- As it was before a reload, or as provino began ----------------------------------------------

history.replaceState(null, "", "/");  // without the key
document.title = `${inizio.sorgente} · Varno Color`;
id("sorgente").textContent = id("sorgente").title = `${inizio.sorgente}  ${inizio.larghezza}×${inizio.altezza}`;
id("fotogrammi").hidden = numeri.length < 2;
id("fotogramma").max = numeri.length - 1;
strisciaDeiLook();
tela.forma(inizio);
const serbato = JSON.parse(sessionStorage.getItem("tavolo") ?? "{}");
if (serbato.corsa === inizio.corsa) {
  ({stato, b, fotogramma} = serbato);
  id("strumenti").hidden = !serbato.strumenti;
  tela.taglia(serbato.taglio);
}
ridisegna();
await (serbato.corsa === inizio.corsa && serbato.confronto ? scegliConfronto(serbato.confronto) : desidera());
