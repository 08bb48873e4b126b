#include "platform/midi/exclusive_words.h"

#include <string>

#include "platform/midi/hex_text.h"
#include "platform/midi/maker_names.h"
#include "platform/midi/midi_bytes.h"
#include "platform/midi/time_code.h"
#include "platform/midi/universal_names.h"

namespace midi {
namespace {

constexpr std::uint8_t NonCommercial = 0x7D;
constexpr std::int64_t AllDevices = 0x7F;

// Where the parts of a universal message stand behind 0xF0: kind, device, two ids, then its data.
constexpr std::size_t DevicePlace = 1;
constexpr std::size_t SubId1Place = 2;
constexpr std::size_t SubId2Place = 3;
constexpr std::size_t DataPlace = 4;

using Data = std::span<const std::uint8_t>;

int fourteen(Data data, std::size_t lower) { return (data[lower + 1] & 0x7F) << 7 | (data[lower] & 0x7F); }

// What an identity reply says about its sender, beyond its maker: family, member and version.
std::string identityText(Data data) {
  const auto word = [&](std::size_t at) { return std::to_string(fourteen(data, at)); };
  std::string text = ", family " + word(0) + ", member " + word(2) + ", version ";
  for (std::size_t i = 4; i < 8; ++i) text += (i == 4 ? "" : ".") + std::to_string(data[i]);
  return text;
}

std::string barText(int bar) {
  constexpr int NotRunning = -8192;
  constexpr int Unknown = 8191;
  const int number = bar >= 8192 ? bar - 16384 : bar;
  if (number == NotRunning) return " not running";
  return number == Unknown ? " unknown" : ' ' + std::to_string(number);
}

std::string timeWords(const TimeCode& time) {
  return ' ' + timeText(time) + " at " + std::string(rateText(time.rate)) + " frames";
}

void addTime(const TimeCode& time, Decoded& out) {
  out.add("time_code", timeText(time));
  out.add("fps", framesPerSecond(time.rate));
}

// What is more in a message whose ids are known. data: behind the ids.
struct Details {
  std::string text;
  std::optional<MakerId> maker;
  std::optional<TimeCode> time;
};

Details nonRealTimeDetails(std::uint8_t subId1, std::uint8_t subId2, Data data) {
  constexpr std::uint8_t GeneralInformation = 0x06;
  constexpr std::uint8_t IdentityReply = 0x02;
  constexpr std::size_t IdentityBytes = 8;
  Details details;
  if (subId1 != GeneralInformation || subId2 != IdentityReply) return details;
  details.maker = readMakerId(data);
  if (!details.maker) return details;
  details.text = ' ' + makerText(*details.maker);
  const Data rest = data.subspan(details.maker->size());
  if (rest.size() >= IdentityBytes) details.text += identityText(rest);
  return details;
}

Details realTimeDetails(std::uint8_t subId1, std::uint8_t subId2, Data data) {
  constexpr unsigned FullFrame = 0x0101;
  constexpr unsigned BarNumber = 0x0301;
  constexpr unsigned TimeSignature = 0x0302;
  constexpr unsigned NextTimeSignature = 0x0342;
  constexpr unsigned MasterVolume = 0x0401;
  constexpr unsigned Locate = 0x0644;
  constexpr double LargestVolume = 0x3FFF;
  Details details;
  switch (static_cast<unsigned>(subId1) << 8U | subId2) {
    case FullFrame:
      details.time = readTimeCode(data);
      break;
    case BarNumber:
      if (data.size() >= 2) details.text = barText(fourteen(data, 0));
      break;
    case TimeSignature:
    case NextTimeSignature:
      // A length, then the numerator and the denominator's power of two.
      if (data.size() >= 3 && data[2] < 8) {
        details.text = ' ' + std::to_string(data[1]) + '/' + std::to_string(1U << data[2]);
      }
      break;
    case MasterVolume:
      if (data.size() >= 2) details.text = ' ' + decimalText(fourteen(data, 0) * 100 / LargestVolume, 1) + '%';
      break;
    case Locate:
      // A length, the kind of place (1: a time), then the time and a part of a frame.
      if (data.size() >= 6 && data[1] == 1) details.time = readTimeCode(data.subspan(2));
      break;
    default:
      break;
  }
  if (details.time) details.text = timeWords(*details.time);
  return details;
}

// data: behind 0xF0, at least a kind.
void describeUniversal(Data data, Decoded& out) {
  const std::uint8_t kind = data[0];
  const char* const kindText = kind == RealTime ? "real time" : "non real time";
  out.text += std::string("universal ") + kindText;
  if (data.size() <= SubId1Place) {
    out.text += " message, cut short";
    return;
  }
  const std::uint8_t device = data[DevicePlace];
  const std::uint8_t subId1 = data[SubId1Place];
  const auto subId2 = data.size() > SubId2Place ? std::optional(data[SubId2Place]) : std::nullopt;
  const UniversalMessage* const message = universalMessage(kind, subId1, subId2);
  Details details;
  if (subId2) {
    const Data rest = data.subspan(DataPlace);
    details = kind == RealTime ? realTimeDetails(subId1, *subId2, rest) : nonRealTimeDetails(subId1, *subId2, rest);
  }
  std::string name =
      message == nullptr ? "message " + hexText(data.subspan(SubId1Place, subId2 ? 2 : 1)) : std::string(message->name);
  out.text +=
      ' ' + name + details.text + (device == AllDevices ? ", all devices" : ", device " + std::to_string(device));
  if (details.maker) out.add("maker", makerText(*details.maker));
  out.add("message", std::move(name));
  out.add("device", std::int64_t{device});
  if (details.time) addTime(*details.time, out);
}

// data: behind 0xF0, without the 0xF7 at the end.
void describeOwner(Data data, Decoded& out) {
  if (!data.empty() && (data[0] == NonRealTime || data[0] == RealTime)) {
    describeUniversal(data, out);
    return;
  }
  out.text += "system exclusive ";
  const auto maker = readMakerId(data);
  if (!maker) {
    out.text += "without a maker";
  } else if (maker->first == NonCommercial) {
    out.text += "for non-commercial use";
  } else {
    out.text += makerText(*maker);
    out.add("maker", makerText(*maker));
  }
}

}  // namespace

void describeExclusive(std::span<const std::uint8_t> bytes, Decoded& out) {
  const std::string size = std::to_string(bytes.size()) + (bytes.size() == 1 ? " byte" : " bytes");
  out.add("event", "system exclusive");
  out.add("size", static_cast<std::int64_t>(bytes.size()));
  if (bytes.front() != SystemExclusive) {
    out.text += "rest of system exclusive, " + size;
    return;
  }
  const bool complete = bytes.size() > 1 && bytes.back() == EndOfExclusive;
  describeOwner(bytes.subspan(1, bytes.size() - (complete ? 2 : 1)), out);
  out.text += ", " + size + (complete ? "" : ", unfinished");
}

}  // namespace midi
