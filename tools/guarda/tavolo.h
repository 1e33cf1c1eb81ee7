// The light table: frames of one source, kept as they were read and reduced, and pictures of them.
#pragma once

#include "tools/guarda/stato.h"
#include "tools/quadri/sorgente.h"

#include <compare>
#include <deque>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

namespace varno::provino {

using FotoPtr = std::shared_ptr<const Foto>;

/// A frame in a box; 0 by 0 for all its pixels.
struct Posto {
    long long numero = 0;
    int larghezza = 0, altezza = 0;
    auto operator<=>(const Posto&) const = default;
};

/// Frames that were asked for, the latest first.
struct Cassetto {
    std::size_t quanti;  // at most
    std::deque<std::pair<Posto, std::shared_future<FotoPtr>>> foto = {};
};

struct Tavolo {
    Plugin plugin;
    Sorgente sorgente;
    std::mutex mutex = {};    // of what stands below
    std::mutex lettura = {};  // one frame is read at a time
    std::mutex istanze = {};  // a host makes and changes them on one thread
    Cassetto intere{3}, ridotte{6};
    Foto scorta = {};               // memory for the next picture of that size
    std::future<void> avanti = {};  // reads ahead
};

enum class Forma { jpeg, png, file };

/// A frame, never larger than it is. Throws Errore, and tries again when it is asked for once more.
FotoPtr quadro(Tavolo& t, const Posto& posto);

/// The bytes of a picture at the settings, or as recorded without: a JPEG, a PNG of 8 bits as the
/// sub-command that develops writes it but opaque and with nothing told of its colours, or the very
/// file of 16 bits. Empty where `superato` answers true meanwhile.
std::vector<unsigned char> dipingi(Tavolo& t, const Posto& posto,
                                   const std::optional<Impostazioni>& imp, Forma forma,
                                   const std::function<bool()>& superato);

}  // namespace varno::provino
