// Decodes arbitrary bytes as any items, and as a datagram.
#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <memory>
#include <vector>

#include "Item.h"
#include "Require.h"
#include "StreamMgrApi.h"
#include "ipc/DecodeRange.h"
#include "ipc/MessageHeader.h"
#include "ipc/Payload.h"
#include "status/ServiceStatusItem.h"

using namespace workstation;

namespace {

std::unique_ptr<Item> AnyStatus(FuzzedDataProvider& plan) {
    status::ServiceStatus status;
    status.streams.resize(plan.ConsumeIntegralInRange<std::size_t>(0, 5));
    for (status::StreamStatus& stream : status.streams) {
        stream.source = plan.ConsumeRandomLengthString(40);
        stream.droppedBytes = plan.ConsumeIntegral<std::uint64_t>();
        if (plan.ConsumeBool()) {
            stream.slot = plan.ConsumeIntegral<int>();
        }
    }
    return std::make_unique<status::ServiceStatusItem>(status);
}

std::unique_ptr<Item> AnyItem(FuzzedDataProvider& plan) {
    switch (plan.ConsumeIntegralInRange(0, 5)) {
    case 0:
        return std::make_unique<UIntItem>(plan.ConsumeIntegral<unsigned int>());
    case 1:
        return std::make_unique<IntItem>(plan.ConsumeIntegral<int>());
    case 2:
        return std::make_unique<BoolItem>(plan.ConsumeBool());
    case 3:
        return std::make_unique<StringItem>(plan.ConsumeRandomLengthString(40));
    case 4:
        return AnyStatus(plan);
    default:
        auto record = std::make_unique<StreamMgrApi::EventRecordItem>();
        record->reid.Value(plan.ConsumeRandomLengthString(40));
        return record;
    }
}

// Every step stays in the payload, which ends where its memory ends. A complete item has its size.
void DecodeArbitraryBytes(FuzzedDataProvider& plan) {
    std::vector<std::unique_ptr<Item>> items;
    for (auto count = plan.ConsumeIntegralInRange(1, 10); count > 0; --count) {
        items.push_back(AnyItem(plan));
    }
    auto payload = plan.ConsumeRemainingBytes<char>();
    payload.shrink_to_fit();
    ipc::DecodeScope const scope(payload.data(), payload.size());
    auto* in = reinterpret_cast<unsigned char*>(payload.data());
    unsigned char const* const end = in + payload.size();
    for (auto const& item : items) {
        unsigned char* const next = item->Decode(in);
        Require(in <= next && next <= end);
        Require(next == end || next == in + item->Size());
        in = next;
    }
}

// Encoded items are decoded to the same values, and no other payload is accepted.
void DecodeWhatWasEncoded(FuzzedDataProvider& plan) {
    auto const seed = plan.ConsumeRemainingBytes<unsigned char>();
    FuzzedDataProvider values(seed.data(), seed.size());
    FuzzedDataProvider kinds(seed.data(), seed.size());
    auto const first = AnyItem(values);
    auto const second = AnyItem(values);
    auto const gotFirst = AnyItem(kinds);
    auto const gotSecond = AnyItem(kinds);
    auto payload = ipc::EncodeItems({first.get(), second.get()});
    auto const original = payload;
    Require(ipc::DecodeItems(payload, {gotFirst.get(), gotSecond.get()}));
    Require(ipc::EncodeItems({gotFirst.get(), gotSecond.get()}) == original);
    payload.push_back(0);
    Require(!ipc::DecodeItems(payload, {gotFirst.get(), gotSecond.get()}));
    payload.resize(original.size() - 1);
    payload.shrink_to_fit();
    Require(!ipc::DecodeItems(payload, {gotFirst.get(), gotSecond.get()}));
}

void DecodeDatagram(FuzzedDataProvider& plan) {
    auto bytes = plan.ConsumeRemainingBytes<unsigned char>();
    bytes.shrink_to_fit();
    if (auto const header = ipc::DecodeHeader(bytes)) {
        Require(header->payloadSize == bytes.size() - ipc::messageHeaderSize);
        Require(std::ranges::equal(ipc::EncodeHeader(*header),
                                   std::span(bytes).first(ipc::messageHeaderSize)));
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(unsigned char const* data, std::size_t size) {
    FuzzedDataProvider plan(data, size);
    switch (plan.ConsumeIntegralInRange(0, 2)) {
    case 0:
        DecodeArbitraryBytes(plan);
        break;
    case 1:
        DecodeWhatWasEncoded(plan);
        break;
    default:
        DecodeDatagram(plan);
    }
    return 0;
}
