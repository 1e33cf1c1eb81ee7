// Instances as a host keeps them: made, changed, rendered, destroyed.
#include "banco/interno.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace varno::banco {
namespace {

constexpr Tipo I = Tipo::intero;
constexpr Tipo D = Tipo::numero;
constexpr Tipo S = Tipo::testo;

Insieme argomenti(const char* nome)
{
    Insieme s;
    s.nome = nome;
    return s;
}

ParametroIstanza& parametro(const Istanza& i, std::string_view nome)
{
    ParametroIstanza* p = trova(i, nome);
    if (p == nullptr)
        throw std::out_of_range("no parameter " + std::string(nome));
    return *p;
}

void imposta_senza_lucchetto(Istanza& i, std::string_view nome, double v)
{
    ParametroIstanza& p = parametro(i, nome);
    p.valore = v;
    p.chiavi.clear();
    p.funzione = nullptr;
}

int chiama(Istanza& i, const char* nome, Insieme* in, Insieme* out)
{
    Atto a(nome, *i.modulo, i.registro, i.ambiente, nullptr, &i);
    const OfxPropertySetHandle dentro = in != nullptr ? a.presta(*in) : nullptr;
    const OfxPropertySetHandle fuori = out != nullptr ? a.presta(*out) : nullptr;
    return a.chiama(i.maniglia, dentro, fuori);
}

std::vector<Valore> quattro(const Rettangolo& r)
{
    return {r.x1, r.y1, r.x2, r.y2};
}

std::vector<Valore> quattro_d(const Rettangolo& r)
{
    return {static_cast<double>(r.x1), static_cast<double>(r.y1), static_cast<double>(r.x2),
            static_cast<double>(r.y2)};
}

void metti_scala(Insieme& s)
{
    metti(s, "OfxImageEffectPropRenderScale", D, {1.0, 1.0});
}

Insieme argomenti_render(double tempo, const Rettangolo& finestra)
{
    Insieme in = argomenti("inArgs");
    metti(in, "OfxPropTime", D, {tempo});
    metti(in, "OfxImageEffectPropRenderWindow", I, quattro(finestra));
    metti(in, "OfxImageEffectPropFieldToRender", S, {std::string("OfxFieldNone")});
    metti_scala(in);
    metti(in, "OfxImageEffectPropSequentialRenderStatus", I, {0});
    metti(in, "OfxImageEffectPropInteractiveRenderStatus", I, {0});
    metti(in, "OfxImageEffectPropRenderQualityDraft", I, {0});
    return in;
}

Insieme argomenti_sequenza(double tempo)
{
    Insieme in = argomenti("inArgs");
    metti(in, "OfxImageEffectPropFrameRange", D, {tempo, tempo});
    metti(in, "OfxImageEffectPropFrameStep", D, {1.0});
    metti(in, "OfxPropIsInteractive", I, {0});
    metti_scala(in);
    return in;
}

int preferenze(Istanza& i)
{
    Insieme out = argomenti("outArgs");
    for (const char* c : {"Source", "Output"}) {
        const std::string clip = c;
        metti(out, "OfxImageClipPropComponents_" + clip, S, {std::string("OfxImageComponentRGBA")},
              true);
        metti(out, "OfxImageClipPropDepth_" + clip, S, {std::string("OfxBitDepthFloat")}, true);
        metti(out, "OfxImageClipPropPAR_" + clip, D, {1.0}, true);
    }
    metti(out, "OfxImageEffectPropFrameRate", D, {24.0}, true);
    metti(out, "OfxImageEffectPropPreMultiplication", S,
          {std::string("OfxImageAlphaUnPremultiplied")}, true);
    metti(out, "OfxImageClipPropContinuousSamples", I, {0}, true);
    metti(out, "OfxImageEffectFrameVarying", I, {0}, true);
    return chiama(i, "OfxImageEffectActionGetClipPreferences", nullptr, &out);
}

int rendi_senza_lucchetto(Istanza& i, double tempo, const Rettangolo& finestra,
                          const Figura& sorgente, const Figura& uscita)
{
    i.tempo = tempo;
    i.sorgente = &sorgente;
    i.uscita = &uscita;
    Insieme in = argomenti_render(tempo, finestra);
    return chiama(i, "OfxImageEffectActionRender", &in, nullptr);
}

}  // namespace

bool e_intero(const std::string& tipo)
{
    return tipo == "OfxParamTypeChoice" || tipo == "OfxParamTypeBoolean";
}

ParametroIstanza* trova(const Istanza& i, std::string_view nome)
{
    for (const auto& p : i.parametri)
        if (p->nome == nome)
            return p.get();
    return nullptr;
}

double valore_di(const ParametroIstanza& p, const double* tempo)
{
    if (tempo == nullptr)
        return p.valore;
    if (p.funzione)
        return p.funzione(*tempo);
    if (p.chiavi.empty())
        return p.valore;
    const auto dopo = std::upper_bound(p.chiavi.begin(), p.chiavi.end(), *tempo,
                                       [](double t, const auto& k) { return t < k.first; });
    if (dopo == p.chiavi.begin())
        return dopo->second;
    const auto prima = dopo - 1;
    if (dopo == p.chiavi.end() || e_intero(p.tipo))
        return prima->second;
    const double t = (*tempo - prima->first) / (dopo->first - prima->first);
    return prima->second + t * (dopo->second - prima->second);
}

int notifica(Istanza& i, const char* nome, const char* motivo)
{
    Insieme inizio = argomenti("inArgs");
    metti(inizio, "OfxPropChangeReason", S, {std::string(motivo)});
    chiama(i, "OfxActionBeginInstanceChanged", &inizio, nullptr);

    Insieme in = argomenti("inArgs");
    metti(in, "OfxPropType", S, {std::string("OfxTypeParameter")});
    metti(in, "OfxPropName", S, {std::string(nome != nullptr ? nome : "")});
    in.proprieta["OfxPropName"].assente = nome == nullptr;
    metti(in, "OfxPropChangeReason", S, {std::string(motivo)});
    metti(in, "OfxPropTime", D, {0.0});
    metti_scala(in);
    const int stato = chiama(i, "OfxActionInstanceChanged", &in, nullptr);

    Insieme fine = argomenti("inArgs");
    metti(fine, "OfxPropChangeReason", S, {std::string(motivo)});
    chiama(i, "OfxActionEndInstanceChanged", &fine, nullptr);
    return stato;
}

void DistruggiIstanza::operator()(Istanza* i) const
{
    if (i->creata)
        azione(*i, "OfxActionDestroyInstance");
    delete i;
}

IstanzaPtr nuova_istanza(Modulo& m, const char* contesto)
{
    const std::lock_guard<std::mutex> guardia(m.mutex);
    const auto trovato = m.contesti.find(contesto);
    if (trovato == m.contesti.end())
        throw std::runtime_error(std::string(contesto) + ": not described");
    const Descrittore& d = *trovato->second;
    IstanzaPtr i(new Istanza);
    i->modulo = &m;
    i->props.nome = "instance";
    metti(i->props, "OfxPropType", S, {std::string("OfxTypeImageEffectInstance")});
    metti(i->props, "OfxImageEffectPropContext", S, {std::string(contesto)});
    metti(i->props, "OfxPropInstanceData", Tipo::puntatore, {static_cast<void*>(nullptr)}, true);
    metti(i->props, "OfxImageEffectPropProjectSize", D, {1920.0, 1080.0});
    metti(i->props, "OfxImageEffectPropProjectOffset", D, {0.0, 0.0});
    metti(i->props, "OfxImageEffectPropProjectExtent", D, {1920.0, 1080.0});
    metti(i->props, "OfxImageEffectPropPixelAspectRatio", D, {1.0});
    metti(i->props, "OfxImageEffectInstancePropEffectDuration", D, {1.0});
    metti(i->props, "OfxImageEffectPropFrameRate", D, {24.0});
    metti(i->props, "OfxImageEffectInstancePropSequentialRender", I, {0});
    i->maniglia = nuova_maniglia(i->ambiente, Cosa::effetto, i.get());
    i->maniglia_props = nuova_maniglia(i->ambiente, Cosa::insieme, &i->props);
    i->maniglia_parametri = nuova_maniglia(i->ambiente, Cosa::parametri, i.get());
    for (const auto& descritto : d.parametri) {
        auto p = std::make_unique<ParametroIstanza>();
        p->nome = descritto->nome;
        p->tipo = descritto->tipo;
        p->props = proprieta_su_istanza(descritto->props);
        p->valore = e_intero(p->tipo) ? intero(p->props, "OfxParamPropDefault")
                                      : numero(p->props, "OfxParamPropDefault");
        p->maniglia = nuova_maniglia(i->ambiente, Cosa::parametro, p.get());
        p->maniglia_props = nuova_maniglia(i->ambiente, Cosa::insieme, &p->props);
        i->parametri.push_back(std::move(p));
    }
    for (const auto& descritto : d.clip) {
        auto c = std::make_unique<ClipIstanza>();
        c->nome = descritto->nome;
        c->props = proprieta_su_istanza(descritto->props);
        c->maniglia = nuova_maniglia(i->ambiente, Cosa::clip, c.get());
        c->maniglia_props = nuova_maniglia(i->ambiente, Cosa::insieme, &c->props);
        i->clip.push_back(std::move(c));
    }
    return i;
}

IstanzaPtr crea_istanza(Modulo& m, const std::map<std::string, double>& valori,
                        const char* contesto)
{
    IstanzaPtr i = nuova_istanza(m, contesto);
    for (const auto& [nome, v] : valori)
        imposta_senza_lucchetto(*i, nome, v);
    const int stato = azione(*i, "OfxActionCreateInstance");
    if (stato != kOfxStatOK && stato != kOfxStatReplyDefault)
        throw std::runtime_error("OfxActionCreateInstance failed with status " +
                                 std::to_string(stato));
    azione(*i, "OfxImageEffectActionGetClipPreferences");
    return i;
}

int azione(Istanza& i, const char* nome)
{
    const std::lock_guard<std::mutex> guardia(i.mutex);
    const std::string_view n = nome;
    if (n == "OfxImageEffectActionGetClipPreferences")
        return preferenze(i);
    if (n == "OfxActionDestroyInstance")
        i.creata = false;
    const int stato = chiama(i, nome, nullptr, nullptr);
    if (n == "OfxActionCreateInstance")
        i.creata = stato == kOfxStatOK || stato == kOfxStatReplyDefault;
    return stato;
}

Registro& registro(Istanza& i)
{
    return i.registro;
}

void imposta(Istanza& i, std::string_view nome, double v)
{
    const std::lock_guard<std::mutex> guardia(i.mutex);
    imposta_senza_lucchetto(i, nome, v);
}

int cambia(Istanza& i, std::string_view nome, double v, const char* motivo)
{
    const std::lock_guard<std::mutex> guardia(i.mutex);
    imposta_senza_lucchetto(i, nome, v);
    return notifica(i, std::string(nome).c_str(), motivo);
}

int avvisa(Istanza& i, const char* nome, const char* motivo)
{
    const std::lock_guard<std::mutex> guardia(i.mutex);
    return notifica(i, nome, motivo);
}

void imposta_chiavi(Istanza& i, std::string_view nome,
                    std::vector<std::pair<double, double>> chiavi)
{
    const std::lock_guard<std::mutex> guardia(i.mutex);
    ParametroIstanza& p = parametro(i, nome);
    std::stable_sort(chiavi.begin(), chiavi.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    p.chiavi = std::move(chiavi);
    p.funzione = nullptr;
}

void imposta_funzione(Istanza& i, std::string_view nome, std::function<double(double)> f)
{
    const std::lock_guard<std::mutex> guardia(i.mutex);
    parametro(i, nome).funzione = std::move(f);
}

double valore(const Istanza& i, std::string_view nome, const double* tempo)
{
    const std::lock_guard<std::mutex> guardia(i.mutex);
    return valore_di(parametro(i, nome), tempo);
}

bool nascosto(const Istanza& i, std::string_view nome)
{
    const std::lock_guard<std::mutex> guardia(i.mutex);
    return intero(parametro(i, nome).props, "OfxParamPropSecret") != 0;
}

int rendi(Istanza& i, double tempo, const Rettangolo& finestra, const Figura& sorgente,
          const Figura& uscita)
{
    const std::lock_guard<std::mutex> guardia(i.mutex);
    const auto aspetta = [&](const char* nome, Insieme& in, Insieme* out, int atteso) {
        const int stato = chiama(i, nome, &in, out);
        if (stato != atteso && stato != kOfxStatReplyDefault)
            i.registro.violazioni.push_back(std::string(nome) + ": status " +
                                            std::to_string(stato) + " is not known here");
    };
    Insieme in = argomenti("inArgs");
    metti(in, "OfxPropTime", D, {tempo});
    metti_scala(in);
    Insieme out = argomenti("outArgs");
    metti(out, "OfxImageEffectPropRegionOfDefinition", D, quattro_d(uscita.limiti), true);
    aspetta("OfxImageEffectActionGetRegionOfDefinition", in, &out, kOfxStatReplyDefault);
    metti(in, "OfxImageEffectPropRegionOfInterest", D, quattro_d(finestra));
    out = argomenti("outArgs");
    metti(out, "OfxImageClipPropRoI_Source", D, quattro_d(finestra), true);
    aspetta("OfxImageEffectActionGetRegionsOfInterest", in, &out, kOfxStatReplyDefault);
    Insieme identita = argomenti_render(tempo, finestra);
    out = argomenti("outArgs");
    metti(out, "OfxPropName", S, {std::string()}, true);
    metti(out, "OfxPropTime", D, {tempo}, true);
    aspetta("OfxImageEffectActionIsIdentity", identita, &out, kOfxStatReplyDefault);
    Insieme sequenza = argomenti_sequenza(tempo);
    aspetta("OfxImageEffectActionBeginSequenceRender", sequenza, nullptr, kOfxStatOK);
    const int stato = rendi_senza_lucchetto(i, tempo, finestra, sorgente, uscita);
    aspetta("OfxImageEffectActionEndSequenceRender", sequenza, nullptr, kOfxStatOK);
    return stato;
}

int rendi_solo(Istanza& i, double tempo, const Rettangolo& finestra, const Figura& sorgente,
               const Figura& uscita)
{
    const std::lock_guard<std::mutex> guardia(i.mutex);
    return rendi_senza_lucchetto(i, tempo, finestra, sorgente, uscita);
}

}  // namespace varno::banco
