// What the tool needs of a recorder's headers and libraries. This compiles and links where nothing
// is missing; each line of NamesAndTypes names one thing and its type.
#include <ctime>
#include <string>
#include <utility>
#include <vector>

#include "CommonCli.h"
#include "IpcMessage.h"
#include "Item.h"
#include "LinxIpc.h"
#include "LinxServerNameList.h"
#include "LogClient.h"
#include "LogMsg.h"
#include "MyStrptime.h"
#include "StreamFileAccess.h"
#include "StreamMetadata.h"
#include "StreamMgrApi.h"
#include "StreamMgrFileMgmnt.h"
#include "SubscribeClient.h"
#include "SysLogMsg.h"
#include "TsHelper.h"

namespace {

static_assert(__cplusplus >= 202002L, "the language is C++20");
static_assert(sizeof(int) == 4, "int has 32 bits");
static_assert(sizeof(StreamMetadata) == 28, "StreamMetadata has seven 32-bit words");
static_assert(e_StreamMgr == 20, "e_StreamMgr is 20");
static_assert(
    StreamMgrFileMgmnt::ControlUnknown == 0 && StreamMgrFileMgmnt::ControlNonFile == 6 &&
        StreamMgrFileMgmnt::ControlExternalProc == 7,
    "StreamMgrFileMgmnt::Control_t counts from ControlUnknown, 0, to ControlExternalProc, 7");
static_assert(StreamMgrApi::EventStreamRoutine == 0 && StreamMgrApi::EventStreamCritical == 1 &&
                  StreamMgrApi::EventStreamBoth == 3,
              "StreamMgrApi::EventStreamState is 0 routine, 1 critical, 3 both");
static_assert(TsHelper::StreamSystickSystem == 2, "TsHelper::StreamSystickSystem is 2");

// The order of virtual functions is read from the layout of these two: a class that overrides each.
class EveryOption : public CommonCli {
public:
    void Usage() override {}
    unsigned int HandleLogLevel(LinxIpc& /*ipc*/, std::string const& /*server*/) override {
        return 0;
    }
    unsigned int SetLogLevel(LinxIpc& /*ipc*/, std::string const& /*server*/,
                             unsigned int /*level*/) override {
        return 0;
    }
    unsigned int ProcessOption(int /*option*/, char const* /*argument*/) override { return 0; }
    unsigned int RunIt() override { return 0; }
    unsigned int PreInit() override { return 0; }
    unsigned int PostInit() override { return CommonCli::PostInit(); }
};

class EveryValue : public Item {
public:
    unsigned char* Encode(unsigned char* out) override { return out; }
    unsigned char* Decode(unsigned char* in) override { return in; }
    unsigned int Size() override { return 0; }
};

// That `value` has the type T and is in a header or in a library.
template <class T>
void Need(T value) {
    T volatile used = value;
    static_cast<void>(used);
}

using Handler = void (*)(LinxIpc*, void*);
using Ticks = std::vector<std::pair<unsigned int, StreamMetadata>>;

void NamesAndTypes() {
    Need<unsigned int (CommonCli::*)(char**, int, std::string const&, option const*)>(
        &CommonCli::Go);
    Need<unsigned int (CommonCli::*)(LinxIpc&, std::string const&)>(&CommonCli::HandleLogLevel);
    Need<unsigned int (CommonCli::*)(LinxIpc&, std::string const&, unsigned int)>(
        &CommonCli::SetLogLevel);
    Need<unsigned int (CommonCli::*)()>(&CommonCli::RunIt);

    Need<int (IpcMessage::*)(unsigned int, unsigned int, char*)>(&IpcMessage::Allocate);
    Need<int (IpcMessage::*)(char const*, unsigned int)>(&IpcMessage::Fill);
    Need<char* (IpcMessage::*)()>(&IpcMessage::Data);

    Need<unsigned int (UIntItem::*)() const>(&UIntItem::Value);
    Need<std::string const& (StringItem::*)() const>(&StringItem::Value);

    Need<std::string const*>(&LinxIpc::emptyString);
    Need<int (LinxIpc::*)()>(&LinxIpc::Init);
    Need<int (LinxIpc::*)(std::string const&, IpcMessage&, unsigned int, int, IpcMessage*)>(
        &LinxIpc::Request);
    Need<int (LinxIpc::*)(int, unsigned int, std::string const&, IpcMessage*)>(&LinxIpc::Receive);
    Need<IpcMessage& (LinxIpc::*)()>(&LinxIpc::CurrentMessage);

    Need<LinxServerNameList* (*)()>(&LinxServerNameList::Instance);
    Need<std::string const& (LinxServerNameList::*)(e_Process) const>(&LinxServerNameList::Name);

    Need<LogClient* (*)()>(&LogClient::Instance);
    Need<unsigned int (LogClient::*)() const>(&LogClient::Level);
    Need<std::string const& (LogClient::*)() const>(&LogClient::ProcessName);
    Need<void (LogClient::*)(std::string const&)>(&LogClient::ProcessName);
    Need<std::ostream& (LogMsg::*)(int, std::string const&)>(&LogMsg::Log);

    Need<char const* (*)(char const*, char const*, tm*)>(&MyStrptime::mystrptime);

    Need<int*>(&StreamFileAccess::fileSystemType);
    Need<bool (StreamFileAccess::*)(bool, bool)>(&StreamFileAccess::InitializeFileAccess);
    Need<void (StreamFileAccess::*)()>(&StreamFileAccess::Unload);
    Need<long (StreamFileAccess::*)()>(&StreamFileAccess::GetFilePoolSize);
    Need<bool (StreamFileAccess::*)(int, StreamMgrFileMgmnt::FileMgmnt_t&)>(
        &StreamFileAccess::GetFileInfo);
    Need<bool (StreamFileAccess::*)()>(&StreamFileAccess::IsOpen);
    Need<long (StreamFileAccess::*)()>(&StreamFileAccess::DataLength);
    Need<int (StreamFileAccess::*)(void*, unsigned int, bool)>(&StreamFileAccess::Read);
    Need<int (StreamFileAccess::*)(void*, unsigned int)>(&StreamFileAccess::Write);
    Need<long (StreamFileAccess::*)(long)>(&StreamFileAccess::Seek);
    Need<long (StreamFileAccess::*)(long)>(&StreamFileAccess::Truncate);

    Need<unsigned int StreamMetadata::*>(&StreamMetadata::tick);
    Need<int StreamMetadata::*>(&StreamMetadata::time);

    Need<StringItem StreamMgrApi::EventRecordItem::*>(&StreamMgrApi::EventRecordItem::reid);
    Need<bool (*)(std::string, LinxIpc&)>(&StreamMgrApi::DeleteEvent);
    Need<bool (*)(unsigned int, LinxIpc&, bool)>(&StreamMgrApi::LogFileChain);
    Need<bool (*)(LinxIpc&, long, long, std::string&, int, StreamMgrApi::EventStreamState)>(
        &StreamMgrApi::RecordAfterTheFact);
    Need<bool (*)(std::string, LinxIpc&, int)>(&StreamMgrApi::SetTagsComplete);
    Need<bool (*)(LinxIpc&, std::string&, unsigned int&)>(&StreamMgrApi::SplitEvent);
    Need<bool (*)(LinxIpc&, std::string, int)>(&StreamMgrApi::BackupDatabase);
    Need<bool (*)(LinxIpc&, int)>(&StreamMgrApi::UpdateFileSize);

    using FileMgmnt = StreamMgrFileMgmnt::FileMgmnt_t;
    Need<StreamMgrFileMgmnt::Control_t FileMgmnt::*>(&FileMgmnt::writeController);
    Need<bool FileMgmnt::*>(&FileMgmnt::streamDbMatch);
    Need<int FileMgmnt::*>(&FileMgmnt::numProcAtomicRead);
    Need<unsigned int FileMgmnt::*>(&FileMgmnt::fileSize);
    Need<bool (StreamMgrFileMgmnt::*)(int, bool, bool)>(&StreamMgrFileMgmnt::Initialize);
    Need<unsigned char const* (StreamMgrFileMgmnt::*)() const>(&StreamMgrFileMgmnt::ProcessTable);

    Need<int (SubscribeClient::*)(unsigned int, unsigned int, Item&, Handler, void*)>(
        &SubscribeClient::Subscribe);

    Need<Ticks (TsHelper::*)(TsHelper::StreamSystickId, unsigned int)>(&TsHelper::SystemTick);
}

void ConstructorsAndDestructors() {
    EveryOption options;
    EveryValue value;
    IpcMessage message;
    LinxIpc ipc(std::string{});
    SubscribeClient client(ipc, std::string(), 0);
    UIntItem number;
    StringItem text;
    StreamMgrApi::EventRecordItem event;
    SysLogMsg entry;
    StreamFileAccess pool;
    StreamFileAccess source(1, 0);
    StreamFileAccess target(1, false, StreamMgrFileMgmnt::ControlExternalProc);
    StreamMgrFileMgmnt tables;
    std::vector<unsigned char> stream;
    TsHelper ticks(stream);
}

} // namespace

int main(int argc, char** /*argv*/) {
    if (argc > 1) { // it is linked, never run
        NamesAndTypes();
        ConstructorsAndDestructors();
    }
}
