// What provino is asked, and the line that tells what went wrong.

const riga = document.getElementById("messaggio");
// The path whose failure stands on the line, until what is asked of it later is answered.
let guastato = "", quando = 0;

export function di(testo, guasto = false) {
  riga.textContent = riga.title = testo;
  riga.classList.toggle("guasto", guasto);
}

/** The answer to an object sent to a path. A refusal is told and thrown. */
export async function chiedi(percorso, oggetto = {}) {
  const chiesto = performance.now();
  const guasta = () => { [guastato, quando] = [percorso, performance.now()]; };
  let risposta;
  try {
    risposta = await fetch(percorso, {
      method: "POST", headers: {"Content-Type": "application/json"}, body: JSON.stringify(oggetto)});
  } catch (e) {
    guasta();
    di("provino has ended or does not answer: what is shown stays", true);
    throw e;
  }
  if (!risposta.ok) {
    guasta();
    const testo = await risposta.text();
    let motivo = testo.trim();
    try { motivo = JSON.parse(testo).errore; } catch { /* a plain line */ }
    di(motivo || `provino answers ${risposta.status}`, true);
    throw new Error(motivo);
  }
  if (guastato === percorso && chiesto > quando) di(guastato = "");
  return risposta;
}

export const chiediJson = async (percorso, oggetto) => (await chiedi(percorso, oggetto)).json();

/** The picture of a wish; null where a newer one has overtaken it. */
export async function chiediQuadro(desiderio) {
  const risposta = await chiedi("/quadro", desiderio);
  if (risposta.status === 204) return null;
  const immagine = await createImageBitmap(await risposta.blob(), {colorSpaceConversion: "none"});
  const [larghezza, altezza] = risposta.headers.get("X-Misure").split("x").map(Number);
  return {immagine, larghezza, altezza};
}
