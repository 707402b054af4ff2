// Reading the stream formats out of a configuration descriptor: the format type descriptors of the
// USB Audio Class 1.0, one row of the format table for each alternate setting. The walk ends on
// every input and never reads beyond the descriptor, nor beyond the length that each part of it
// tells.
#include "support/debug_log.h"
#include "usbaudio/usb_irps.h"

namespace {

constexpr UCHAR kInterfaceDescriptor = 4;
constexpr UCHAR kClassSpecificInterface = 0x24;
constexpr UCHAR kAudioClass = 1;
constexpr UCHAR kAudioStreamingSubClass = 2;
constexpr UCHAR kFormatTypeSubtype = 2;

// Offsets of the published formats.
constexpr int kTotalLength = 2;
constexpr int kAlternateSetting = 3;
constexpr int kInterfaceClass = 5;
constexpr int kInterfaceSubClass = 6;

unsigned Read16(const UCHAR* bytes) {
  return bytes[0] | unsigned{bytes[1]} << 8;
}
unsigned Read24(const UCHAR* bytes) {
  return Read16(bytes) | unsigned{bytes[2]} << 16;
}

// The frequencies behind the fixed fields, as far as they fit whole.
class FrequencyList {
 public:
  FrequencyList(const UCHAR* descriptor, int offset) : descriptor_(descriptor), offset_(offset) {}

  bool Has(int index) const { return offset_ + 3 * (index + 1) <= descriptor_[0]; }
  unsigned operator[](int index) const { return Read24(descriptor_ + offset_ + 3 * index); }

 private:
  const UCHAR* descriptor_;
  int offset_;
};

void ReadFrequencies(const FrequencyList& frequencies, int count, AltSetFormat& row) {
  if (count == 0) {
    if (frequencies.Has(0)) {
      g_USBIrpsLog.Log(3, "tLowerSamFreq:    0x%06X (%d Hz)\r\n", frequencies[0],
                       static_cast<int>(frequencies[0]));
    }
    if (frequencies.Has(1)) {
      g_USBIrpsLog.Log(2, "tUpperSamFreq:    0x%06X (%d Hz)\r\n", frequencies[1],
                       static_cast<int>(frequencies[1]));
    }
    return;
  }
  for (int i = 0; i < count && frequencies.Has(i); ++i) {
    g_USBIrpsLog.Log(2, "tSamFreq[%d]:      0x%06X (%d Hz)\r\n", i + 1, frequencies[i],
                     static_cast<int>(frequencies[i]));
    if (i == 0) row.SamplesPerSecond = frequencies[i];
  }
}

}  // namespace

void CUSBIRPs::ParseConfigurationDescriptor(const UCHAR* pDescriptor) {
  if (pDescriptor == nullptr) return;
  const UCHAR* const end = pDescriptor + Read16(pDescriptor + kTotalLength);
  UCHAR interfaceClass = 0;
  UCHAR subClass = 0;
  UCHAR alternateSetting = 0;
  for (const UCHAR* cursor = pDescriptor; end - cursor > 2;) {
    const UCHAR length = cursor[0];
    if (length < 2 || length > end - cursor) return;
    if (cursor[1] == kInterfaceDescriptor) {
      if (length == 9 || length == 11) {
        interfaceClass = cursor[kInterfaceClass];
        subClass = cursor[kInterfaceSubClass];
        alternateSetting = cursor[kAlternateSetting];
      }
    } else if (interfaceClass == kAudioClass && alternateSetting < MAX_ALT_SETS_SUPPORTED) {
      ParseStreamingDescriptor(cursor, subClass, alternateSetting);
    }
    cursor += length;
  }
}

bool CUSBIRPs::ParseStreamingDescriptor(const UCHAR* pDescriptor, UCHAR SubClass,
                                        UCHAR AlternateSetting) {
  const bool isFormatType = pDescriptor[0] > 2 && pDescriptor[1] == kClassSpecificInterface &&
                            SubClass == kAudioStreamingSubClass &&
                            pDescriptor[2] == kFormatTypeSubtype;
  return isFormatType && ParseFormatTypeDescriptor(pDescriptor, AlternateSetting);
}

bool CUSBIRPs::ParseFormatTypeDescriptor(const UCHAR* pDescriptor, UCHAR AlternateSetting) {
  const UCHAR length = pDescriptor[0];
  if (length < 4) return false;
  const UCHAR formatType = pDescriptor[3];
  const bool isTypeOneOrThree = formatType == 1 || formatType == 3;
  const bool isTypeTwo = formatType == 2;
  if ((isTypeOneOrThree && length < 8) || (isTypeTwo && length < 9)) return false;

  g_USBIrpsLog.Log(2, "\r\nAudio Streaming Format Type Descriptor:\r\n");
  g_USBIrpsLog.Log(2, "bLength:              0x%02X\r\n", unsigned{length});
  g_USBIrpsLog.Log(2, "bDescriptorType:      0x%02X\r\n", unsigned{pDescriptor[1]});
  g_USBIrpsLog.Log(2, "bDescriptorSubtype:   0x%02X\r\n", unsigned{pDescriptor[2]});
  g_USBIrpsLog.Log(2, "bFormatType:          0x%02X\r\n", unsigned{formatType});
  AltSetFormat& row = m_pAltSetFormats[AlternateSetting];
  if (isTypeOneOrThree) {
    g_USBIrpsLog.Log(2, "bNrChannels:          0x%02X\r\n", unsigned{pDescriptor[4]});
    g_USBIrpsLog.Log(2, "bSubframeSize:        0x%02X\r\n", unsigned{pDescriptor[5]});
    g_USBIrpsLog.Log(2, "bBitResolution:       0x%02X\r\n", unsigned{pDescriptor[6]});
    g_USBIrpsLog.Log(2, "bSamFreqType:         0x%02X\r\n", unsigned{pDescriptor[7]});
    row = {.Valid = 1,
           .BitsPerSample = pDescriptor[6],
           .Channel = pDescriptor[4],
           .SamplesPerSecond = 0};
    ReadFrequencies(FrequencyList(pDescriptor, 8), pDescriptor[7], row);
  } else if (isTypeTwo) {
    g_USBIrpsLog.Log(2, "wMaxBitRate:        0x%04X\r\n", Read16(pDescriptor + 4));
    g_USBIrpsLog.Log(2, "wSamplesPerFrame:   0x%04X\r\n", Read16(pDescriptor + 6));
    g_USBIrpsLog.Log(2, "bSamFreqType:         0x%02X\r\n", unsigned{pDescriptor[8]});
    ReadFrequencies(FrequencyList(pDescriptor, 9), pDescriptor[8], row);
  }
  if (row.BitsPerSample == 0 || row.Channel == 0 || row.SamplesPerSecond == 0) row.Valid = 0;
  return true;
}
