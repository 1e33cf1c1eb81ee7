// The scopes: parade, histogram and the share of clipped pixels, of what is shown.

const COLORI = [[255, 96, 96], [110, 220, 120], [110, 150, 255]];
const [parata, istogramma, tagliati] = ["parata", "istogramma", "tagliati"].map(n => document.getElementById(n));
const ALTA = parata.height, PARTI = parata.width / COLORI.length;  // of the parade: rows, and columns of one colour

function disegna(tela, valore) {
  const {width: larga, height: alta} = tela;
  const contesto = tela.getContext("2d"), punti = contesto.createImageData(larga, alta);
  for (let i = 0, n = larga * alta; i < n; ++i)
    punti.data.set([...valore(i % larga, (i / larga) | 0), 255], 4 * i);
  contesto.putImageData(punti, 0, 0);
}

/** Draws them of a canvas' pixels, of about so many at most. */
export function misura(quadro, quanti) {
  const {width: l, height: a} = quadro;
  const d = quadro.getContext("2d", {willReadFrequently: true}).getImageData(0, 0, l, a).data;
  const passo = Math.max(1, Math.ceil(Math.sqrt(l * a / quanti)));
  const onda = new Uint32Array(3 * PARTI * ALTA), conta = new Uint32Array(3 * 256);
  let visti = 0, neri = 0, bianchi = 0;
  for (let y = 0; y < a; y += passo)
    for (let x = 0; x < l; x += passo) {
      const i = 4 * (y * l + x), colonna = (x * PARTI / l) | 0;
      for (let c = 0; c < 3; ++c) {
        const v = d[i + c];
        ++conta[256 * c + v];
        ++onda[(c * PARTI + colonna) * ALTA + ((255 - v) * (ALTA - 1) / 255 | 0)];
      }
      ++visti;
      if (d[i] === 0 || d[i + 1] === 0 || d[i + 2] === 0) ++neri;
      if (d[i] === 255 || d[i + 1] === 255 || d[i + 2] === 255) ++bianchi;
    }
  const forza = 2.2 * PARTI * Math.sqrt(ALTA) / visti;
  disegna(parata, (x, y) => {
    const c = (x / PARTI) | 0, luce = Math.min(1, Math.pow(onda[x * ALTA + y] * forza, 0.6));
    const linea = x % PARTI && y % 25 ? 14 : 34;
    return COLORI[c].map(v => Math.max(linea, v * luce));
  });
  const cima = Math.max(1, conta.slice().sort().at(-9));  // the ends may tower over all
  disegna(istogramma, (x, y) => {
    const piena = c => (conta[256 * c + 2 * x] + conta[256 * c + 2 * x + 1]) / 2 / cima >= (ALTA - y) / ALTA;
    const p = [14, 14, 14];
    for (let c = 0; c < 3; ++c)
      if (piena(c)) for (let k = 0; k < 3; ++k) p[k] += COLORI[c][k] * 0.45;
    return p;
  });
  const parte = n => `${(100 * n / visti).toFixed(n && n < visti / 1000 ? 2 : 1)} %`;
  tagliati.textContent = `clipped: black ${parte(neri)}, white ${parte(bianchi)}`;
}
