#pragma once

#include <windows.h>

#include <eventtoken.h>
#include <inspectable.h>

#include <cstdint>

/// The interfaces of Windows' classes that are used: of `Windows.Devices.Bluetooth`,
/// `Windows.Devices.Bluetooth.Advertisement`, `Windows.Foundation` and `Windows.Storage.Streams`.
///
/// Names, identifiers and the order of the operations are those of Windows' published interface
/// metadata (Windows.winmd), as the SDK's headers and language projections show it; the identifiers
/// of the event handlers follow from it by its rule for parameterised types. An operation that
/// nobody calls keeps its name and place only, and is left out where none follows that is called.
namespace plenar_ble::winrt {

/// "912dba18-6963-4533-b061-4694dafb34e5"
consteval GUID Id(const char (&text)[37]) {
  unsigned char bytes[16]{};
  int digits = 0;
  for (const char c : text) {
    if (c == '-' || c == '\0') continue;
    const int value = c >= 'a' ? c - 'a' + 10 : c - '0';
    bytes[digits / 2] = static_cast<unsigned char>(bytes[digits / 2] << 4 | value);
    ++digits;
  }
  GUID id{};
  for (int i = 0; i < 4; ++i) id.Data1 = id.Data1 << 8 | bytes[i];
  id.Data2 = static_cast<unsigned short>(bytes[4] << 8 | bytes[5]);
  id.Data3 = static_cast<unsigned short>(bytes[6] << 8 | bytes[7]);
  for (int i = 0; i < 8; ++i) id.Data4[i] = bytes[8 + i];
  return id;
}

/// The base of the interfaces: what an object of ours answers to questions that nobody asks.
struct Inspectable : IInspectable {
  HRESULT STDMETHODCALLTYPE GetIids(ULONG*, IID**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetRuntimeClassName(HSTRING*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetTrustLevel(TrustLevel*) override { return E_NOTIMPL; }
};

// Windows.Foundation

/// What a class calls on an event. An event names its sender, its arguments and its identifier.
template <class Event>
struct TypedEventHandler : IUnknown {
  static constexpr GUID kId = Event::kId;
  virtual HRESULT STDMETHODCALLTYPE Invoke(typename Event::Sender* sender,
                                           typename Event::Arguments* arguments) = 0;
};

enum class AsyncStatus : std::int32_t { kStarted, kCompleted, kCanceled, kError };

struct IAsyncInfo : Inspectable {
  static constexpr GUID kId = Id("00000036-0000-0000-c000-000000000046");

  virtual HRESULT STDMETHODCALLTYPE get_Id() { return E_NOTIMPL; }
  virtual HRESULT STDMETHODCALLTYPE get_Status(AsyncStatus* value) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_ErrorCode(HRESULT* value) = 0;
  virtual HRESULT STDMETHODCALLTYPE Cancel() = 0;
};

/// The outcome of a question. Its identifier differs by `T`, and nobody asks for it.
template <class T>
struct IAsyncOperation : Inspectable {
  virtual HRESULT STDMETHODCALLTYPE put_Completed() { return E_NOTIMPL; }
  virtual HRESULT STDMETHODCALLTYPE get_Completed() { return E_NOTIMPL; }
  virtual HRESULT STDMETHODCALLTYPE GetResults(T** results) = 0;
};

/// A list of objects. Its identifier differs by `T`, and nobody asks for it.
template <class T>
struct IVector : Inspectable {
  virtual HRESULT STDMETHODCALLTYPE GetAt(UINT32 index, T** item) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_Size(UINT32* size) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetView() { return E_NOTIMPL; }
  virtual HRESULT STDMETHODCALLTYPE IndexOf() { return E_NOTIMPL; }
  virtual HRESULT STDMETHODCALLTYPE SetAt() { return E_NOTIMPL; }
  virtual HRESULT STDMETHODCALLTYPE InsertAt() { return E_NOTIMPL; }
  virtual HRESULT STDMETHODCALLTYPE RemoveAt() { return E_NOTIMPL; }
  virtual HRESULT STDMETHODCALLTYPE Append(T* item) = 0;
};

// Windows.Storage.Streams

struct IBuffer : Inspectable {
  static constexpr GUID kId = Id("905a0fe0-bc53-11df-8c49-001e4fc686da");

  virtual HRESULT STDMETHODCALLTYPE get_Capacity(UINT32* value) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_Length(UINT32* value) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_Length(UINT32 value) = 0;
};

struct IBufferByteAccess : IUnknown {
  static constexpr GUID kId = Id("905a0fef-bc53-11df-8c49-001e4fc686da");

  virtual HRESULT STDMETHODCALLTYPE Buffer(BYTE** value) = 0;
};

// Windows.Devices.Bluetooth

inline constexpr wchar_t kBluetoothAdapter[] = L"Windows.Devices.Bluetooth.BluetoothAdapter";

enum class BluetoothError : std::int32_t {
  kSuccess,
  kRadioNotAvailable,
  kResourceInUse,
  kDeviceNotConnected,
  kOtherError,
  kDisabledByPolicy,
  kNotSupported,
  kDisabledByUser,
  kConsentRequired,
  kTransportNotSupported,
};

struct IBluetoothAdapter : Inspectable {
  static constexpr GUID kId = Id("7974f04c-5f7a-4a34-9225-a855f84b1a8b");

  virtual HRESULT STDMETHODCALLTYPE get_DeviceId() { return E_NOTIMPL; }
  virtual HRESULT STDMETHODCALLTYPE get_BluetoothAddress() { return E_NOTIMPL; }
  virtual HRESULT STDMETHODCALLTYPE get_IsClassicSupported() { return E_NOTIMPL; }
  virtual HRESULT STDMETHODCALLTYPE get_IsLowEnergySupported(boolean* value) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_IsPeripheralRoleSupported(boolean* value) = 0;
};

/// Since Windows 10, version 2004.
struct IBluetoothAdapter3 : Inspectable {
  static constexpr GUID kId = Id("8f8624e0-cba9-5211-9f89-3aac62b4c6b8");

  virtual HRESULT STDMETHODCALLTYPE get_IsExtendedAdvertisingSupported(boolean* value) = 0;
};

struct IBluetoothAdapterStatics : Inspectable {
  static constexpr GUID kId = Id("8b02fb6a-ac4c-4741-8661-8eab7d17ea9f");

  virtual HRESULT STDMETHODCALLTYPE GetDeviceSelector() { return E_NOTIMPL; }
  virtual HRESULT STDMETHODCALLTYPE FromIdAsync() { return E_NOTIMPL; }
  virtual HRESULT STDMETHODCALLTYPE
  GetDefaultAsync(IAsyncOperation<IBluetoothAdapter>** operation) = 0;
};

// Windows.Devices.Bluetooth.Advertisement

inline constexpr wchar_t kAdvertisement[] =
    L"Windows.Devices.Bluetooth.Advertisement.BluetoothLEAdvertisement";
inline constexpr wchar_t kPublisher[] =
    L"Windows.Devices.Bluetooth.Advertisement.BluetoothLEAdvertisementPublisher";
inline constexpr wchar_t kWatcher[] =
    L"Windows.Devices.Bluetooth.Advertisement.BluetoothLEAdvertisementWatcher";
inline constexpr wchar_t kManufacturerData[] =
    L"Windows.Devices.Bluetooth.Advertisement.BluetoothLEManufacturerData";

enum class PublisherStatus : std::int32_t {
  kCreated,
  kWaiting,
  kStarted,
  kStopping,
  kStopped,
  kAborted,
};

enum class AdvertisementType : std::int32_t {
  kConnectableUndirected,
  kConnectableDirected,
  kScannableUndirected,
  kNonConnectableUndirected,
  kScanResponse,
  kExtended,
};

enum class ScanningMode : std::int32_t { kPassive, kActive };

struct IManufacturerData : Inspectable {
  static constexpr GUID kId = Id("912dba18-6963-4533-b061-4694dafb34e5");

  virtual HRESULT STDMETHODCALLTYPE get_CompanyId(UINT16* value) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_CompanyId() { return E_NOTIMPL; }
  virtual HRESULT STDMETHODCALLTYPE get_Data(IBuffer** value) = 0;
};

struct IManufacturerDataFactory : Inspectable {
  static constexpr GUID kId = Id("c09b39f8-319a-441e-8de5-66a81e877a6c");

  virtual HRESULT STDMETHODCALLTYPE Create(UINT16 company, IBuffer* data,
                                           IManufacturerData** item) = 0;
};

struct IDataSection : Inspectable {
  static constexpr GUID kId = Id("d7213314-3a43-40f9-b6f0-92bfefc34ae3");

  virtual HRESULT STDMETHODCALLTYPE get_DataType(BYTE* value) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_DataType() { return E_NOTIMPL; }
  virtual HRESULT STDMETHODCALLTYPE get_Data(IBuffer** value) = 0;
};

struct IAdvertisement : Inspectable {
  static constexpr GUID kId = Id("066fb2b7-33d1-4e7d-8367-cf81d0f79653");

  virtual HRESULT STDMETHODCALLTYPE get_Flags() { return E_NOTIMPL; }
  virtual HRESULT STDMETHODCALLTYPE put_Flags() { return E_NOTIMPL; }
  virtual HRESULT STDMETHODCALLTYPE get_LocalName() { return E_NOTIMPL; }
  virtual HRESULT STDMETHODCALLTYPE put_LocalName() { return E_NOTIMPL; }
  virtual HRESULT STDMETHODCALLTYPE get_ServiceUuids() { return E_NOTIMPL; }
  virtual HRESULT STDMETHODCALLTYPE get_ManufacturerData(IVector<IManufacturerData>** value) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_DataSections(IVector<IDataSection>** value) = 0;
};

struct IPublisherStatusChangedEventArgs : Inspectable {
  static constexpr GUID kId = Id("09c2bd9f-2dff-4b23-86ee-0d14fb94aeae");

  virtual HRESULT STDMETHODCALLTYPE get_Status(PublisherStatus* value) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_Error(BluetoothError* value) = 0;
};

struct IPublisher;
struct PublisherStatusChanged {
  using Sender = IPublisher;
  using Arguments = IPublisherStatusChangedEventArgs;
  static constexpr GUID kId = Id("c2ffa4f1-5893-54a8-bd94-aa1198b05d07");
};

struct IPublisher : Inspectable {
  static constexpr GUID kId = Id("cde820f9-d9fa-43d6-a264-ddd8b7da8b78");

  virtual HRESULT STDMETHODCALLTYPE get_Status() { return E_NOTIMPL; }
  virtual HRESULT STDMETHODCALLTYPE get_Advertisement() { return E_NOTIMPL; }
  virtual HRESULT STDMETHODCALLTYPE Start() = 0;
  virtual HRESULT STDMETHODCALLTYPE Stop() = 0;
  virtual HRESULT STDMETHODCALLTYPE add_StatusChanged(
      TypedEventHandler<PublisherStatusChanged>* handler, EventRegistrationToken* token) = 0;
  virtual HRESULT STDMETHODCALLTYPE remove_StatusChanged(EventRegistrationToken token) = 0;
};

struct IPublisherFactory : Inspectable {
  static constexpr GUID kId = Id("5c5f065e-b863-4981-a1af-1c544d8b0c0d");

  virtual HRESULT STDMETHODCALLTYPE Create(IAdvertisement* advertisement,
                                           IPublisher** publisher) = 0;
};

/// Since Windows 10, version 2004.
struct IPublisher2 : Inspectable {
  static constexpr GUID kId = Id("fbdb545e-56f1-510f-a434-217fbd9e7bd2");

  virtual HRESULT STDMETHODCALLTYPE get_PreferredTransmitPowerLevelInDBm() { return E_NOTIMPL; }
  virtual HRESULT STDMETHODCALLTYPE put_PreferredTransmitPowerLevelInDBm() { return E_NOTIMPL; }
  virtual HRESULT STDMETHODCALLTYPE get_UseExtendedAdvertisement() { return E_NOTIMPL; }
  virtual HRESULT STDMETHODCALLTYPE put_UseExtendedAdvertisement(boolean value) = 0;
};

struct IReceivedEventArgs : Inspectable {
  static constexpr GUID kId = Id("27987ddf-e596-41be-8d43-9e6731d4a913");

  virtual HRESULT STDMETHODCALLTYPE get_RawSignalStrengthInDBm(INT16* value) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_BluetoothAddress(UINT64* value) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_AdvertisementType(AdvertisementType* value) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_Timestamp() { return E_NOTIMPL; }
  virtual HRESULT STDMETHODCALLTYPE get_Advertisement(IAdvertisement** value) = 0;
};

/// Since Windows 10, version 2004.
struct IReceivedEventArgs2 : Inspectable {
  static constexpr GUID kId = Id("12d9c87b-0399-5f0e-a348-53b02b6b162e");

  virtual HRESULT STDMETHODCALLTYPE get_BluetoothAddressType() { return E_NOTIMPL; }
  virtual HRESULT STDMETHODCALLTYPE get_TransmitPowerLevelInDBm() { return E_NOTIMPL; }
  virtual HRESULT STDMETHODCALLTYPE get_IsAnonymous() { return E_NOTIMPL; }
  virtual HRESULT STDMETHODCALLTYPE get_IsConnectable(boolean* value) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_IsScannable() { return E_NOTIMPL; }
  virtual HRESULT STDMETHODCALLTYPE get_IsDirected() { return E_NOTIMPL; }
  virtual HRESULT STDMETHODCALLTYPE get_IsScanResponse(boolean* value) = 0;
};

struct IWatcherStoppedEventArgs : Inspectable {
  static constexpr GUID kId = Id("dd40f84d-e7b9-43e3-9c04-0685d085fd8c");

  virtual HRESULT STDMETHODCALLTYPE get_Error(BluetoothError* value) = 0;
};

struct IWatcher;
struct Received {
  using Sender = IWatcher;
  using Arguments = IReceivedEventArgs;
  static constexpr GUID kId = Id("90eb4eca-d465-5ea0-a61c-033c8c5ecef2");
};
struct WatcherStopped {
  using Sender = IWatcher;
  using Arguments = IWatcherStoppedEventArgs;
  static constexpr GUID kId = Id("9936a4db-dc99-55c3-9e9b-bf4854bd9eab");
};

struct IWatcher : Inspectable {
  static constexpr GUID kId = Id("a6ac336f-f3d3-4297-8d6c-c81ea6623f40");

  virtual HRESULT STDMETHODCALLTYPE get_MinSamplingInterval() { return E_NOTIMPL; }
  virtual HRESULT STDMETHODCALLTYPE get_MaxSamplingInterval() { return E_NOTIMPL; }
  virtual HRESULT STDMETHODCALLTYPE get_MinOutOfRangeTimeout() { return E_NOTIMPL; }
  virtual HRESULT STDMETHODCALLTYPE get_MaxOutOfRangeTimeout() { return E_NOTIMPL; }
  virtual HRESULT STDMETHODCALLTYPE get_Status() { return E_NOTIMPL; }
  virtual HRESULT STDMETHODCALLTYPE get_ScanningMode() { return E_NOTIMPL; }
  virtual HRESULT STDMETHODCALLTYPE put_ScanningMode(ScanningMode value) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_SignalStrengthFilter() { return E_NOTIMPL; }
  virtual HRESULT STDMETHODCALLTYPE put_SignalStrengthFilter() { return E_NOTIMPL; }
  virtual HRESULT STDMETHODCALLTYPE get_AdvertisementFilter() { return E_NOTIMPL; }
  virtual HRESULT STDMETHODCALLTYPE put_AdvertisementFilter() { return E_NOTIMPL; }
  virtual HRESULT STDMETHODCALLTYPE Start() = 0;
  virtual HRESULT STDMETHODCALLTYPE Stop() = 0;
  virtual HRESULT STDMETHODCALLTYPE add_Received(TypedEventHandler<Received>* handler,
                                                 EventRegistrationToken* token) = 0;
  virtual HRESULT STDMETHODCALLTYPE remove_Received(EventRegistrationToken token) = 0;
  virtual HRESULT STDMETHODCALLTYPE add_Stopped(TypedEventHandler<WatcherStopped>* handler,
                                                EventRegistrationToken* token) = 0;
  virtual HRESULT STDMETHODCALLTYPE remove_Stopped(EventRegistrationToken token) = 0;
};

/// Since Windows 10, version 2004.
struct IWatcher2 : Inspectable {
  static constexpr GUID kId = Id("01bf26bc-b164-5805-90a3-e8a7997ff225");

  virtual HRESULT STDMETHODCALLTYPE get_AllowExtendedAdvertisements() { return E_NOTIMPL; }
  virtual HRESULT STDMETHODCALLTYPE put_AllowExtendedAdvertisements(boolean value) = 0;
};

}  // namespace plenar_ble::winrt
