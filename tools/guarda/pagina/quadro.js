// The picture: fitted or zoomed, and the wipe over it.

const id = n => document.getElementById(n);
const vista = id("vista"), piano = id("piano"), tendina = id("tendina"), zoom = id("zoom");
export const quadro = id("quadro"), confronto = id("confronto");
const intera = {larghezza: 1, altezza: 1};
let scala = 0, x = 0, y = 0;  // CSS pixels a pixel of the picture, 0: fitted; and its corner
export let taglio = 0.5;      // the wipe, as a share of the view

const adatta = () => Math.min(vista.clientWidth / intera.larghezza, vista.clientHeight / intera.altezza);
const unoAUno = () => 1 / devicePixelRatio;
const ora = () => scala || adatta();

/** The box that a frame is shown in, in pixels of the screen. */
export function riquadro() {
  const s = adatta() * devicePixelRatio;
  return {larghezza: Math.max(1, Math.round(intera.larghezza * s)), altezza: Math.max(1, Math.round(intera.altezza * s))};
}

export function disponi() {
  const s = ora(), l = intera.larghezza * s, a = intera.altezza * s;
  const entro = (v, lato, libero) => lato <= libero ? (libero - lato) / 2 : Math.min(0, Math.max(libero - lato, v));
  x = entro(x, l, vista.clientWidth);
  y = entro(y, a, vista.clientHeight);
  Object.assign(piano.style, {left: `${x}px`, top: `${y}px`, width: `${l}px`, height: `${a}px`});
  piano.classList.toggle("fitto", s * devicePixelRatio >= 2);
  zoom.textContent = scala ? `${Math.round(100 * s * devicePixelRatio)} %` : "fit";
  const da = Math.min(l, Math.max(0, taglio * vista.clientWidth - x));
  confronto.style.clipPath = `inset(0 0 0 ${da}px)`;
  tendina.style.left = `${100 * taglio}%`;
  tendina.setAttribute("aria-valuenow", Math.round(100 * taglio));
}

/** The size of a frame, before the first one is there. */
export function forma({larghezza, altezza}) {
  Object.assign(intera, {larghezza, altezza});
  disponi();
}

/** Fills a small canvas with the middle of a picture. */
export function riempi(tela, immagine) {
  const s = Math.max(tela.width / immagine.width, tela.height / immagine.height);
  const [l, a] = [immagine.width * s, immagine.height * s];
  tela.getContext("2d").drawImage(immagine, (tela.width - l) / 2, (tela.height - a) / 2, l, a);
  immagine.close();
}

/** Draws a picture into a canvas of its size. */
export function posa(tela, {immagine, larghezza, altezza}) {
  if (tela.width !== immagine.width || tela.height !== immagine.height)
    Object.assign(tela, {width: immagine.width, height: immagine.height});
  tela.getContext("2d", {willReadFrequently: true}).drawImage(immagine, 0, 0);
  immagine.close();
  if (larghezza !== intera.larghezza || altezza !== intera.altezza) forma({larghezza, altezza});
}

/** Zooms, a point of the view staying where it is. */
export function ingrandisci(nuova, px = vista.clientWidth / 2, py = vista.clientHeight / 2) {
  const prima = ora();
  scala = nuova && Math.min(32 * unoAUno(), nuova);
  if (scala && scala <= adatta()) scala = 0;
  const volte = ora() / prima;
  x = px - (px - x) * volte;
  y = py - (py - y) * volte;
  disponi();
}
export const gradino = verso => ingrandisci(ora() * (verso > 0 ? 1.25 : 0.8));
export const alterna = (px, py) => ingrandisci(scala ? 0 : unoAUno(), px, py);

export function mostraTendina(nome) {
  for (const e of [confronto, tendina, id("di-qua"), id("di-la")]) e.hidden = !nome;
  id("di-la").textContent = nome;
  disponi();
}
export function taglia(t) {
  taglio = Math.min(1, Math.max(0, t));
  disponi();
}

/** The pixel under a place on the screen, of the whole frame; null outside. */
export function pixel(e) {
  const r = piano.getBoundingClientRect();
  const px = Math.floor((e.clientX - r.left) / r.width * intera.larghezza);
  const py = Math.floor((e.clientY - r.top) / r.height * intera.altezza);
  return px >= 0 && py >= 0 && px < intera.larghezza && py < intera.altezza ? {x: px, y: py} : null;
}
export function valoreMostrato(p) {
  const qui = [p.x * quadro.width / intera.larghezza, p.y * quadro.height / intera.altezza].map(Math.floor);
  return [...quadro.getContext("2d", {willReadFrequently: true}).getImageData(...qui, 1, 1).data].slice(0, 3);
}

// A finger or the mouse, held down on an element.
function trascina(e, inizia, muovi, lascia = () => {}) {
  e.onpointerdown = d => {
    if (d.button) return;
    e.setPointerCapture(d.pointerId);
    inizia(d);
    e.onpointermove = m => muovi(m);
    e.onpointerup = e.onpointercancel = () => { e.onpointermove = null; lascia(); };
  };
}
const nella = d => [d.clientX - vista.getBoundingClientRect().left, d.clientY - vista.getBoundingClientRect().top];

let ultimo = [0, 0];
trascina(vista, d => { ultimo = [d.clientX, d.clientY]; vista.classList.add("preso"); }, m => {
  x += m.clientX - ultimo[0];
  y += m.clientY - ultimo[1];
  ultimo = [m.clientX, m.clientY];
  disponi();
}, () => vista.classList.remove("preso"));
trascina(tendina, d => d.stopPropagation(), m => taglia(nella(m)[0] / vista.clientWidth));
tendina.ondblclick = e => { e.stopPropagation(); taglia(0.5); };
tendina.onkeydown = e => {
  const verso = {ArrowRight: 1, ArrowUp: 1, ArrowLeft: -1, ArrowDown: -1}[e.key];
  if (!verso) return;
  e.preventDefault();
  e.stopPropagation();
  taglia(taglio + verso * (e.shiftKey ? 0.1 : 0.01));
};
vista.onwheel = e => { e.preventDefault(); ingrandisci(ora() * Math.pow(1.0015, -e.deltaY), ...nella(e)); };
vista.ondblclick = e => alterna(...nella(e));
zoom.onclick = () => alterna();
new ResizeObserver(disponi).observe(vista);
