#include "system/broadcast.h"

#include <utility>

#include "system/data_section.h"
#include "text.h"

namespace plenar_ble {
namespace {

using winrt::AdvertisementType;
using winrt::Check;
using winrt::ComPtr;

/// Devices change their addresses: past this many, all that was kept is forgotten, and comes again
/// with the devices' next packets.
constexpr std::size_t kMostDevices = 1024;

std::string TextOf(std::uint64_t address) {
  std::uint8_t bytes[6]{};
  for (int i = 5; i >= 0; --i, address >>= 8) bytes[i] = static_cast<std::uint8_t>(address);
  return HexText(bytes, ":");
}

bool IsConnectable(AdvertisementType type) {
  return type == AdvertisementType::kConnectableUndirected ||
         type == AdvertisementType::kConnectableDirected;
}

/// The raw sections hold all that the advertisement's other properties say.
void ReadSections(const ComPtr<winrt::IAdvertisement>& advertisement, BleBroadcastInfo& info) {
  ComPtr<winrt::IVector<winrt::IDataSection>> sections;
  UINT32 count = 0;
  Check(advertisement->get_DataSections(sections.Out()), "BluetoothLEAdvertisement.DataSections");
  Check(sections->get_Size(&count), "BluetoothLEAdvertisement.DataSections.Size");
  for (UINT32 i = 0; i < count; ++i) {
    ComPtr<winrt::IDataSection> section;
    ComPtr<winrt::IBuffer> data;
    BYTE type = 0;
    Check(sections->GetAt(i, section.Out()), "BluetoothLEAdvertisement.DataSections.GetAt");
    Check(section->get_DataType(&type), "BluetoothLEAdvertisementDataSection.DataType");
    Check(section->get_Data(data.Out()), "BluetoothLEAdvertisementDataSection.Data");
    AddSection(type, winrt::BytesOf(data), info);
  }
}

/// Adds what a scan response says to what the device's advertisement says.
void Add(const BleBroadcastInfo& scan_response, BleBroadcastInfo& info) {
  if (info.local_name.empty()) info.local_name = scan_response.local_name;
  info.service_uuids.insert(info.service_uuids.end(), scan_response.service_uuids.begin(),
                            scan_response.service_uuids.end());
  info.manufacturer_data.insert(scan_response.manufacturer_data.begin(),
                                scan_response.manufacturer_data.end());
  info.data_sections.insert(scan_response.data_sections.begin(), scan_response.data_sections.end());
}

}  // namespace

Packet ReadPacket(winrt::IReceivedEventArgs& event) {
  Packet packet;
  AdvertisementType type{};
  ComPtr<winrt::IAdvertisement> advertisement;
  Check(event.get_BluetoothAddress(&packet.address), "Received.BluetoothAddress");
  Check(event.get_RawSignalStrengthInDBm(&packet.info.rssi), "Received.RawSignalStrengthInDBm");
  Check(event.get_AdvertisementType(&type), "Received.AdvertisementType");
  Check(event.get_Advertisement(advertisement.Out()), "Received.Advertisement");

  boolean connectable = IsConnectable(type);
  boolean scan_response = type == AdvertisementType::kScanResponse;
  ComPtr<winrt::IReceivedEventArgs2> newer;
  if (SUCCEEDED(event.QueryInterface(winrt::IReceivedEventArgs2::kId,
                                     reinterpret_cast<void**>(newer.Out())))) {
    Check(newer->get_IsConnectable(&connectable), "Received.IsConnectable");
    Check(newer->get_IsScanResponse(&scan_response), "Received.IsScanResponse");
  }
  packet.is_scan_response = scan_response != 0;
  packet.info.address = TextOf(packet.address);
  packet.info.connectable = connectable != 0;
  packet.info.advertisement_type = static_cast<std::uint16_t>(type);
  ReadSections(advertisement, packet.info);
  return packet;
}

const BleBroadcastInfo& PacketMerger::Merge(Packet packet) {
  if (devices_.size() >= kMostDevices && !devices_.contains(packet.address)) devices_.clear();
  Device& device = devices_[packet.address];
  BleBroadcastInfo& kept = packet.is_scan_response ? device.scan_response : device.advertisement;
  kept = std::move(packet.info);
  // A device without the one has nothing to add to the other.
  if (device.scan_response.address.empty()) return device.advertisement;
  if (device.advertisement.address.empty()) return device.scan_response;
  merged_ = device.advertisement;
  merged_.rssi = kept.rssi;
  Add(device.scan_response, merged_);
  return merged_;
}

}  // namespace plenar_ble
