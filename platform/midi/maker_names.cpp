#include "platform/midi/maker_names.h"

#include <algorithm>
#include <array>

#include "platform/midi/hex_text.h"
#include "platform/midi/midi_bytes.h"

namespace midi {
namespace {

// Sixteen neighbouring ids.
struct MakerRow {
  std::uint16_t start;                     // the first id: its only byte, or the second and third of three
  std::array<std::string_view, 16> names;  // empty where no maker is known
};

// The ids that the MIDI Association publishes in its list "MIDI Manufacturer ID Numbers", with the names in short:
// without legal forms and places. The three-byte ids of recent years are missing.

// One byte: America from 0x01, Europe from 0x20, Japan from 0x40.
constexpr auto OneByteRows = std::to_array<MakerRow>(
    {{0x0000,
      {"", "Sequential Circuits", "IDP", "Voyetra Turtle Beach", "Moog Music", "Passport Designs", "Lexicon",
       "Kurzweil", "Fender", "MIDI9", "AKG Acoustics", "Voyce Music", "WaveFrame", "ADA Signal Processors",
       "Garfield Electronics", "Ensoniq"}},
     {0x0010,
      {"Oberheim", "Apple", "Grey Matter Response", "Digidesign", "Palmtree Instruments", "JLCooper Electronics",
       "Lowrey", "Adams-Smith", "E-mu", "Harmony Systems", "ART", "Baldwin", "Eventide", "Inventronics", "Key Concepts",
       "Clarity"}},
     {0x0020,
      {"Passac", "Proel Labs (SIEL)", "Synthaxe", "Stepp", "Hohner", "Twister", "Ketron", "Jellinghaus MS",
       "Southworth Music Systems", "PPG", "JEN", "Solid State Logic", "Audio Veritrieb", "Neve", "Soundtracs", "Elka"}},
     {0x0030,
      {"Dynacord", "Viscount", "Drawmer", "Clavia", "Audio Architecture", "Generalmusic", "Cheetah Marketing", "C.T.M.",
       "Simmons", "Soundcraft", "Steinberg", "Wersi", "AVAB Niethammer", "Digigram", "Waldorf", "Quasimidi"}},
     {0x0040,
      {"Kawai", "Roland", "Korg", "Yamaha", "Casio", "", "Kamiya Studio", "Akai", "Victor Company of Japan", "", "",
       "Fujitsu", "Sony", "", "Teac"}},
     {0x0050,
      {"Matsushita Electric", "Fostex", "Zoom", "", "Matsushita Communication", "Suzuki", "Fuji Sound",
       "Acoustic Technical Laboratory", "", "Faith", "Internet Corporation", "", "Seekers", "", "",
       "SD Card Association"}}});

// Three bytes: America from 0x00 0x00 0x01, Europe and others from 0x00 0x20 0x00, Japan from 0x00 0x40 0x00.
constexpr auto ThreeByteRows = std::to_array<MakerRow>(
    {{0x0000,
      {"", "Time Warner Interactive", "Advanced Gravis", "Media Vision", "Dornes Research", "K-Muse", "Stypher",
       "Digital Music", "IOTA Systems", "New England Digital", "Artisyn", "IVL Technologies", "Southern Music Systems",
       "Lake Butler Sound", "Alesis", "Sound Creation"}},
     {0x0010,
      {"DOD Electronics", "Studer-Editech", "Sonus", "Temporal Acuity", "Perfect Fretworks", "KAT", "Opcode", "Rane",
       "Anadi Electronique", "KMX", "Allen & Heath Brenell", "Peavey", "360 Systems", "Spectrum Design",
       "Marquis Music", "Zeta Systems"}},
     {0x0020,
      {"Axxes", "Orban", "Indian Valley", "Triton", "KTI", "Breakaway Technologies", "Leprecon", "Harrison Systems",
       "Future Lab", "Rocktron", "PianoDisc", "Cannon Research", "", "Rodgers Instrument", "Blue Sky Logic",
       "Encore Electronics"}},
     {0x0030,
      {"Uptown", "Voce", "CTI Audio", "S3", "Broderbund", "Allen Organ", "", "Music Quest", "Aphex", "Gallien Krueger",
       "IBM", "Mark of the Unicorn", "Hotz", "ETA Lighting", "NSI", "Ad Lib"}},
     {0x0040,
      {"Richmond Sound Design", "Microsoft", "Mindscape", "Russ Jones Marketing", "Intone",
       "Advanced Remote Technologies", "White Instruments", "GT Electronics", "Pacific Research & Engineering",
       "Timeline Vista", "Mesa Boogie", "FSLI", "Sequoia Development", "Studio Electronics", "Euphonix", "InterMIDI"}},
     {0x0050,
      {"MIDI Solutions", "3DO", "Lightwave Research", "Micro-W", "Spectral Synthesis", "Lone Wolf",
       "Studio Technologies", "Peterson Electro-Musical", "Atari", "Marion Systems", "Design Event",
       "Winjammer Software", "AT&T Bell Laboratories", "", "Symetrix", "MIDI the World"}},
     {0x0060,
      {"Spatializer", "Micros 'N MIDI", "Accordians International", "EuPhonics", "Musonix", "Turtle Beach Systems",
       "Mackie", "Compuserve", "BEC Technologies", "QRS Music", "P.G. Music", "Sierra Semiconductor", "EpiGraf",
       "Electronics Diversified", "Tune 1000", "Advanced Micro Devices"}},
     {0x0070,
      {"Mediamation", "Sabine", "Woog Labs", "Micropolis", "Ta Horng", "e-Tek Labs", "Electro-Voice", "Midisoft",
       "QSound Labs", "Westrex", "Nvidia", "ESS Technology", "Media Trix", "Brooktree", "Otari", "Key Electronics"}},
     {0x0100,
      {"Shure", "AuraSound", "Crystal Semiconductor", "Conexant", "Silicon Graphics", "M-Audio", "PreSonus", "",
       "Topaz Enterprises", "Cast Lighting", "Microsoft Consumer Division", "Sonic Foundry", "Line 6", "Beatnik",
       "Van Koevering", "Altech Systems"}},
     {0x0110,
      {"S & S Research", "VLSI Technology", "Chromatic Research", "Sapphire", "IDRC", "Justonic Tuning",
       "TorComp Research", "Newtek", "Sound Sculpture", "Walker Technical", "Digital Harmony", "InVision Interactive",
       "T-Square Design", "Nemesys Music Technology", "DBX Professional", "Syndyne"}},
     {0x0120,
      {"Bitheadz", "BandLab Technologies", "Analog Devices", "National Semiconductor", "Boom Theory", "Virtual DSP",
       "Antares Systems", "Angel Software", "St Louis Music", "Passport Music Software", "Ashley Audio", "Vari-Lite",
       "Summit Audio", "Aureal Semiconductor", "SeaSound", "U.S. Robotics"}},
     {0x0130,
      {"Aurisis Research", "Nearfield Research", "FM7", "Swivel Systems", "Hyperactive Audio Systems", "MidiLite",
       "Radikal Technologies", "Roger Linn Design", "TC-Helicon", "Event Electronics", "Sonic Network",
       "Realtime Music Solutions", "Apogee Digital", "Classical Organs", "Microtools", "Numark"}},
     {0x0140,
      {"Frontier Design", "Recordare", "Starr Labs", "Voyager Sound", "Manifold Labs", "Aviom", "Mixmeister Technology",
       "Notation Software", "Mercurial Communications", "Wave Arts", "Logic Sequencing Devices", "Axess Electronics",
       "Muse Research", "Open Labs", "Guillemot", "Samson Technologies"}},
     {0x0150,
      {"Electronic Theatre Controls", "Blackberry", "Mobileer", "Synthogy", "Lynx Studio Technology",
       "Damage Control Engineering", "Yost Engineering", "Brooks & Forsman Designs", "Infinite Response", "Garritan",
       "Plogue Art et Technologie", "RJM Music Technology", "Custom Solutions Software", "Highly Liquid", "Centrance",
       "Kesumo"}},
     {0x0160,
      {"Stanton", "Livid Instruments", "First Act", "Pygraphics", "Panadigm Innovations", "Avedis Zildjian",
       "Auvital Music", "You Rock Guitar", "Chris Grigg Designs", "Slate Digital", "Mixware", "Social Entropy",
       "Source Audio", "Ernie Ball", "Fishman", "Custom Audio Electronics"}},
     {0x0170,
      {"American Audio", "Mega Control Systems", "Kilpatrick Audio", "iConnectivity", "Fractal Audio",
       "NetLogic Microsystems", "Music Computing", "Nektar Technology", "Zenph Sound Innovations", "DJTechTools.com",
       "Rezonance Labs", "Decibel Eleven", "CNMAT", "Media Overkill", "Confusion Studios", "moForte"}},
     {0x0200,
      {"Miselu", "Amelia's Compass", "Zivix", "Artiphon", "Synclavier Digital", "Light & Sound Control Devices",
       "Retronyms", "JS Technologies", "Quicco Sound", "A-Designs Audio", "McCarthy Music", "Denon DJ",
       "Keith Robert Murray", "Google", "ISP Technologies", "Abstrakt Instruments"}},
     {0x0210,
      {"Meris", "Sensorpoint", "Hi-Z Labs", "Imitone", "Intellijel Designs", "Dasz Instruments", "Remidi",
       "Disaster Area Designs", "Universal Audio", "Carter Duncan", "Essential Technology", "Cantux Research",
       "Hummel Technologies", "Sensel", "DBML Group", "Madrona Labs"}},
     {0x0220,
      {"Mesa Boogie", "Effigy Labs", "MK2 Image", "Red Panda", "OnSong", "Jamboxx", "Electro-Harmonix", "RnD64",
       "Neunaber Technology", "Kaom", "Hallowell EMC", "Sound Devices", "Spectrasonics", "Second Sound", "8eo (Horn)",
       "VIDVOX"}},
     {0x0230, {"Matthews Effects"}},
     {0x2000,
      {"Dream", "Strand Lighting", "Amek", "Casa Di Risparmio Di Loreto", "Boehm electronic", "Syntec Digital Audio",
       "Trident Audio", "Real World Studio", "Evolution Synthesis", "Yes Technology", "Audiomatica", "Bontempi",
       "F.B.T. Elettronica", "MidiTemp", "LA Audio", "Zero 88 Lighting"}},
     {0x2010,
      {"Micon Audio Electronics", "Forefront Technology", "Studio Audio and Video", "Kenton Electronics", "Celco",
       "ADB", "Marshall Products", "DDA", "BSS Audio", "MA Lighting", "Fatar", "QSC Audio", "Artisan Classic Organ",
       "Orla", "Pinnacle Audio", "TC Electronics"}},
     {0x2020,
      {"Doepfer", "Creative ATC", "Seyddo/Minami", "LG Electronics", "Midisoft di M.Cima", "Samick", "Penny and Giles",
       "Acorn Computer", "LSC Electronics", "Focusrite/Novation", "Samkyung Mechatronics", "Medeli Electronics",
       "Charlie Lab", "Blue Chip Music Technology", "BEE OH", "LG Semicon America"}},
     {0x2030,
      {"TESI", "EMAGIC", "Behringer", "Access Music Electronics", "Synoptic", "Hanmesoft", "Terratec", "Proel",
       "IBK MIDI", "IRCAM", "Propellerhead Software", "Red Sound Systems", "Elektron", "Sintefex Audio", "MAM",
       "Amsaro"}},
     {0x2040,
      {"CDS Advanced Technology", "Mode Machines", "DSP Arts", "Phil Rees", "Stamer Musikanlagen", "Soundart",
       "C-Mexx Software", "Klavis Technologies", "Noteheads", "Algorithmix", "Skrydstrup", "Professional Audio",
       "NewWave Labs", "Vermona", "Nokia", "Wave Idea"}},
     {0x2050,
      {"Hartmann", "Lion's Tracs", "Analogue Systems", "Focal-JMlab", "Ringway Electronics", "Faith Technologies",
       "Showworks", "Manikin Electronic", "1 Come Tech", "Phonic", "Dolby Australia", "Silansys Technologies",
       "Winbond Electronics", "Cinetix", "A&G Soluzioni Digitali", "Sequentix"}},
     {0x2060,
      {"Oram Pro Audio", "Be4", "Infection Music", "Central Music (CME)", "genoQs Machines", "Medialon", "Waves Audio",
       "Jerash Labs", "Da Fact", "Elby Designs", "Spectral Audio", "Arturia", "Vixid", "C-Thru Music",
       "Ya Horng Electronic", "SM Pro Audio"}},
     {0x2070,
      {"OTO Machines", "ELZAB (G LAB)", "Blackstar Amplification", "M3i Technologies", "Gemalto", "Prostage",
       "Teenage Engineering", "Tobias Erichsen Consulting", "Nixer", "Hanpin Electron", "MIDI-hardware R.Sowa",
       "Beyond Music Industrial", "Kiss Box", "Misa Digital Technologies", "AI Musics Technology", "Serato"}},
     {0x2100,
      {"Limex", "Kyodday (Tokai)", "Mutable Instruments", "PreSonus Software", "Ingenico", "Fairlight Instruments",
       "Musicom Lab", "Modal Electronics", "RWA (Hong Kong)", "Native Instruments", "Naonext", "MFB", "Teknel Research",
       "Ploytec", "Surfin Kangaroo Studio", "Philips Electronics HK"}},
     {0x2110,
      {"ROLI", "Panda-Audio", "BauM Software", "Machinewerks", "Xiamen Elane Electronics", "Marshall Amplification",
       "Kiwitechnics", "Rob Papen", "Spicetone", "V3Sound", "IK Multimedia", "Novalia", "Modor Music", "Ableton",
       "Dtronics", "ZAQ Audio"}},
     {0x2120,
      {"Muabaobao Education Technology", "Flux Effects", "Audiothingies", "Retrokits", "Morningstar FX",
       "Changsha Hotone Audio", "Expressive E", "Expert Sleepers", "Timecode-Vision Technology", "Hornberg Research",
       "Sonic Potions", "Audiofront", "Fred's Lab", "Audio Modeling", "C. Bechstein Digital", "Motas Electronics"}},
     {0x2130,
      {"MIND Music Labs", "Sonic Academy", "Bome Software", "AODYO", "Pianoforce", "Dreadbox", "TouchKeys Instruments",
       "The Gigrig", "ALM", "CH Sound Design", "Beat Bars", "Blokas", "GEWA Music", "dadamachines",
       "Augmented Instruments (Bela)", "Supercritical"}},
     {0x2140,
      {"Genki Instruments", "Marienberg Devices", "Supperware", "Imoxplus", "Swapp Technologies", "Electra One",
       "Digital Clef", "Paul Whittington Group", "Music Hackspace", "Bitwig"}},
     {0x4000, {"Crimson Technology", "Softbank Mobile", "", "D&M Holdings"}}});

template <std::size_t Rows>
std::string_view nameIn(const std::array<MakerRow, Rows>& rows, unsigned id) {
  const auto found = std::ranges::find(rows, id & 0xFFF0U, &MakerRow::start);
  return found == rows.end() ? std::string_view() : found->names.at(id & 0x0FU);
}

}  // namespace

std::optional<MakerId> readMakerId(std::span<const std::uint8_t> bytes) {
  if (bytes.empty()) return std::nullopt;
  MakerId maker{bytes[0]};
  if (maker.first == 0) {
    if (bytes.size() < 3) return std::nullopt;
    maker.second = bytes[1];
    maker.third = bytes[2];
  }
  if (std::ranges::any_of(bytes.first(maker.size()), isStatusByte)) return std::nullopt;
  return maker;
}

std::string_view nameOf(MakerId maker) {
  if (maker.first != 0) return nameIn(OneByteRows, maker.first);
  return nameIn(ThreeByteRows, static_cast<unsigned>(maker.second) << 8U | maker.third);
}

std::string makerText(MakerId maker) {
  if (const std::string_view name = nameOf(maker); !name.empty()) return std::string(name);
  const std::array bytes{maker.first, maker.second, maker.third};
  return "maker " + hexText(std::span(bytes).first(maker.size()));
}

}  // namespace midi
