// The record of an event: its members' encodings in the order of declaration.
#include "StreamMgrApi.h"

namespace StreamMgrApi {

unsigned char* EventRecordItem::Encode(unsigned char* out) {
    for (Item* const item :
         std::initializer_list<Item*>{&reid, &tagsComplete, &startTime, &stopTime, &streams}) {
        out = item->Encode(out);
    }
    return out;
}

unsigned char* EventRecordItem::Decode(unsigned char* in) {
    for (Item* const item :
         std::initializer_list<Item*>{&reid, &tagsComplete, &startTime, &stopTime, &streams}) {
        in = item->Decode(in);
    }
    return in;
}

unsigned int EventRecordItem::Size() {
    return reid.Size() + tagsComplete.Size() + startTime.Size() + stopTime.Size() + streams.Size();
}

} // namespace StreamMgrApi
