// Lines for the user, on the two output channels.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include <string>

namespace varno::provino {

/// Keeps the error channel for this program's own lines: what libraries print there goes nowhere.
/// To be called once, before anything else.
void apri_messaggi();

/// How a run tells of itself: in lines for people, not at all but for losses, as lines of JSON,
/// which goes before the second. Set before anything is told.
struct Voce {
    bool muta = false, json = false;
};
extern Voce gVoce;

/// One line each on the error channel, "provino: ..."; line breaks and control characters become
/// blanks. Any thread.
void errore(const std::string& testo);

/// A note, and one on what is read and not written, which no voice keeps to itself. In JSON a line
/// of the standard output.
void avviso(const std::string& testo, bool perde = false);
inline void perdita(const std::string& testo)
{
    avviso(testo, true);
}

/// A loss of a file, told for the first one alone of all that it fits.
void nota(const std::string& file, const std::string& testo);

/// What a command did, in the voice that was chosen.
void esito(const std::string& testo, const nlohmann::ordered_json& json);

/// The same on the way, where a closed output is no reason to stop.
void tappa(const std::string& testo, const nlohmann::ordered_json& json);

/// Descriptor of the error channel.
int canale_errori();

/// One line on the standard output, flushed, so that a pipe sees it at once. Throws Errore where it
/// cannot be written, without a text where a reader such as `head` has had enough.
void riga(const std::string& testo);

/// In one line unless it is indented; what is no UTF-8 is replaced.
std::string testo_di(const nlohmann::ordered_json& json, int rientro = -1);

/// Text as it stands on the error channel, for a progress bar.
void barra(const std::string& testo);

/// First line of a library's message, shortened, without control characters.
std::string in_una_riga(const std::string& testo);

}  // namespace varno::provino
