// The URB interface of the USB stack, under its published names: what travels in an IRP with
// IOCTL_INTERNAL_USB_SUBMIT_URB, as far as audio devices use it.
#pragma once

#include "platform/host/types.h"

inline constexpr ULONG IOCTL_INTERNAL_USB_SUBMIT_URB = 0x00220003;

inline constexpr USHORT URB_FUNCTION_SELECT_CONFIGURATION = 0x0000;
inline constexpr USHORT URB_FUNCTION_SELECT_INTERFACE = 0x0001;
inline constexpr USHORT URB_FUNCTION_CONTROL_TRANSFER = 0x0008;
inline constexpr USHORT URB_FUNCTION_ISOCH_TRANSFER = 0x000A;
inline constexpr USHORT URB_FUNCTION_GET_DESCRIPTOR_FROM_DEVICE = 0x000B;

using USBD_STATUS = LONG;
inline constexpr USBD_STATUS USBD_STATUS_SUCCESS = 0;
inline constexpr USBD_STATUS USBD_STATUS_CRC = static_cast<USBD_STATUS>(0xC0000001);
inline constexpr USBD_STATUS USBD_STATUS_DATA_OVERRUN = static_cast<USBD_STATUS>(0xC0000008);
inline constexpr USBD_STATUS USBD_STATUS_INVALID_PARAMETER = static_cast<USBD_STATUS>(0x80000300);
inline constexpr USBD_STATUS USBD_STATUS_CANCELED = static_cast<USBD_STATUS>(0xC0010000);

#define USBD_SUCCESS(status) (static_cast<USBD_STATUS>(status) >= 0)

using USBD_PIPE_HANDLE = PVOID;
using USBD_CONFIGURATION_HANDLE = PVOID;
using USBD_INTERFACE_HANDLE = PVOID;

/// As it stands on the wire, and in front of the descriptors that follow it.
struct [[gnu::packed]] USB_CONFIGURATION_DESCRIPTOR {
  UCHAR bLength;
  UCHAR bDescriptorType;
  USHORT wTotalLength;
  UCHAR bNumInterfaces;
  UCHAR bConfigurationValue;
  UCHAR iConfiguration;
  UCHAR bmAttributes;
  UCHAR MaxPower;
};
using PUSB_CONFIGURATION_DESCRIPTOR = USB_CONFIGURATION_DESCRIPTOR*;

struct USBD_PIPE_INFORMATION {
  USHORT MaximumPacketSize;
  UCHAR EndpointAddress;
  UCHAR Interval;
  ULONG PipeType;
  USBD_PIPE_HANDLE PipeHandle;
  ULONG MaximumTransferSize;
  ULONG PipeFlags;
};

/// Length covers the pipes that there are: 36 bytes with one on the 32-bit system.
struct USBD_INTERFACE_INFORMATION {
  USHORT Length;
  UCHAR InterfaceNumber;
  UCHAR AlternateSetting;
  UCHAR Class;
  UCHAR SubClass;
  UCHAR Protocol;
  UCHAR Reserved;
  USBD_INTERFACE_HANDLE InterfaceHandle;
  ULONG NumberOfPipes;
  USBD_PIPE_INFORMATION Pipes[1];
};
static_assert(sizeof(void*) != 4 || sizeof(USBD_INTERFACE_INFORMATION) == 36);

/// Length of the interface information with a number of pipes.
inline constexpr USHORT InterfaceInformationLength(ULONG pipes) {
  return static_cast<USHORT>(offsetof(USBD_INTERFACE_INFORMATION, Pipes) +
                             pipes * sizeof(USBD_PIPE_INFORMATION));
}

struct _URB_HEADER {
  USHORT Length;
  USHORT Function;
  USBD_STATUS Status;
  PVOID UsbdDeviceHandle;
  ULONG UsbdFlags;
};

struct _URB_SELECT_CONFIGURATION {
  _URB_HEADER Hdr;
  PUSB_CONFIGURATION_DESCRIPTOR ConfigurationDescriptor;
  USBD_CONFIGURATION_HANDLE ConfigurationHandle;
  USBD_INTERFACE_INFORMATION Interface;
};

struct _URB_SELECT_INTERFACE {
  _URB_HEADER Hdr;
  USBD_CONFIGURATION_HANDLE ConfigurationHandle;
  USBD_INTERFACE_INFORMATION Interface;
};

struct USBD_ISO_PACKET_DESCRIPTOR {
  ULONG Offset;
  ULONG Length;
  USBD_STATUS Status;
};

/// Packets beyond the first stand behind the record.
struct _URB_ISOCH_TRANSFER {
  _URB_HEADER Hdr;
  USBD_PIPE_HANDLE PipeHandle;
  ULONG TransferFlags;
  ULONG TransferBufferLength;
  PVOID TransferBuffer;
  PVOID TransferBufferMDL;
  PVOID UrbLink;
  PVOID HostControllerArea[8];
  ULONG StartFrame;
  ULONG NumberOfPackets;
  ULONG ErrorCount;
  USBD_ISO_PACKET_DESCRIPTOR IsoPacket[1];
};

struct URB {
  union {
    _URB_HEADER UrbHeader;
    _URB_SELECT_CONFIGURATION UrbSelectConfiguration;
    _URB_SELECT_INTERFACE UrbSelectInterface;
    _URB_ISOCH_TRANSFER UrbIsochronousTransfer;
  };
};
using PURB = URB*;

inline constexpr ULONG USBD_TRANSFER_DIRECTION_IN = 1;
inline constexpr ULONG USBD_START_ISO_TRANSFER_ASAP = 4;
