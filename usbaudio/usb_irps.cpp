// The interception's object: two-stage construction, and teardown when no request is out any more.
#include "usbaudio/usb_irps.h"

#include "popfilter/cpops.h"
#include "support/debug_log.h"
#include "support/tracked_new.h"

namespace {

// Four characters in the order of memory.
constexpr ULONG Tag(const char (&text)[5]) {
  ULONG tag = 0;
  for (int i = 3; i >= 0; --i)
    tag = tag << 8 | static_cast<UCHAR>(text[i]);
  return tag;
}

}  // namespace

// The tracked allocator aligns for a pointer. The lookaside list of a 32-bit kernel names 8 bytes,
// but its exchange of 8 bytes works at any address.
static_assert(alignof(CUSBIRPs) <= alignof(void*) || sizeof(void*) == 4);

void* CUSBIRPs::operator new(std::size_t size, POOL_TYPE poolType) noexcept {
  return PoolAllocTracked(poolType, size);
}

void CUSBIRPs::operator delete(void* object) {
  PoolFreeTracked(object);
}

void CUSBIRPs::operator delete(void* object, POOL_TYPE /*poolType*/) {
  PoolFreeTracked(object);
}

CUSBIRPs::CUSBIRPs()
    : m_pFDO(nullptr),
      m_pLowerDevice(nullptr),
      m_pPDO(nullptr),
      m_pDevice(nullptr),
      m_lRequestsInFlight(0),
      m_pRemoveLock(nullptr),
      m_pConfigDescriptor(nullptr),
      m_ulBytesPerFrame(0),
      m_ulChannels(0),
      m_ulSamplesPerSecond(0),
      m_ulBitsPerSample(0),
      m_pIsoBuffer(nullptr),
      m_ulIsoBufferSize(0),
      m_ucHeldByte(0),
      m_ulHeldByteValid(0) {
  m_pAltSetFormats = new (NonPagedPool) AltSetFormat[MAX_ALT_SETS_SUPPORTED]();
  // A filter without a core stays: it answers with a status, and audio passes as it is.
  ULONG status = 0;
  m_pCPOPS = new (NonPagedPool) CPOPS(nullptr, Tag("ZPOP"), &status);
  ExInitializeNPagedLookasideList(&m_IrpContextList, nullptr, nullptr, 0, sizeof(IRPContext),
                                  Tag("ZRpf"), 0);
  KeInitializeSpinLock(&m_ConfigLock);
  KeInitializeSpinLock(&m_DataLock);
  g_USBIrpsLog.Log(3, "CUSBIRPs::CUSBIRPs> Created class: 0x%lx\n", LogWord(this));
}

PAGEABLE_CODE NTSTATUS CUSBIRPs::Init(PDEVICE_OBJECT pFDO, PDEVICE_OBJECT pLowerDevice,
                                      PDEVICE_OBJECT pPDO, CDevice* pDevice,
                                      RemoveLock* pRemoveLock) {
  m_pFDO = pFDO;
  m_pLowerDevice = pLowerDevice;
  m_pPDO = pPDO;
  m_pDevice = pDevice;
  m_pRemoveLock = pRemoveLock;
  g_USBIrpsLog.Log(3, "CUSBIRPs::Init> status is 0x%lx!\n", LogWord(STATUS_SUCCESS));
  return STATUS_SUCCESS;
}

bool CUSBIRPs::IsComplete() const {
  return m_pAltSetFormats != nullptr && m_pCPOPS != nullptr;
}

CUSBIRPs::~CUSBIRPs() {
  m_pFDO = nullptr;
  m_pLowerDevice = nullptr;
  m_pPDO = nullptr;
  m_pDevice = nullptr;
  m_pRemoveLock = nullptr;
  if (m_pConfigDescriptor != nullptr) PoolFreeTracked(m_pConfigDescriptor);
  m_pConfigDescriptor = nullptr;
  if (m_pAltSetFormats != nullptr) PoolFreeTracked(m_pAltSetFormats);
  m_pAltSetFormats = nullptr;
  ExDeleteNPagedLookasideList(&m_IrpContextList);
  // NOLINTNEXTLINE(readability-delete-null-pointer): the tracked delete takes no null.
  if (m_pCPOPS != nullptr) delete m_pCPOPS;
  m_pCPOPS = nullptr;
  if (m_pIsoBuffer != nullptr) PoolFreeTracked(m_pIsoBuffer);
  m_pIsoBuffer = nullptr;
  g_USBIrpsLog.Log(3, "CUSBIRPs::~CUSBIRPs> destroying class: 0x%lx\n", LogWord(this));
}
