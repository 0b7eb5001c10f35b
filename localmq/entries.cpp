// The entries of the message queue interface that this library exports, and nothing else.

#include <cstddef>

#include "localmq/consumers.h"
#include "localmq/dispatch.h"
#include "mq/mqi_calls.h"

#ifdef _WIN32
#define LOCALMQ_EXPORT __declspec(dllexport)
#else
#define LOCALMQ_EXPORT __attribute__((visibility("default")))
#endif

using namespace localmq;

namespace {

// What the interface offers for publish and subscribe, message handles and the like is not kept here.
void Refuse(MQLONG* compCode, MQLONG* reason) { Finish(Failed(MQRC_FUNCTION_NOT_SUPPORTED), compCode, reason); }

}  // namespace

extern "C" {

LOCALMQ_EXPORT void MQCONN(const MQCHAR* qmgr, MQHCONN* hconn, MQLONG* compCode, MQLONG* reason) {
  Run(compCode, reason, [&] { return Connect(qmgr, nullptr, hconn); });
}

LOCALMQ_EXPORT void MQCONNX(const MQCHAR* qmgr, MQCNO* options, MQHCONN* hconn, MQLONG* compCode, MQLONG* reason) {
  Run(compCode, reason, [&] { return Connect(qmgr, options, hconn); });
}

LOCALMQ_EXPORT void MQDISC(MQHCONN* hconn, MQLONG* compCode, MQLONG* reason) {
  Run(compCode, reason, [&] { return EndConnection(hconn); });
}

LOCALMQ_EXPORT void MQOPEN(MQHCONN hconn, MQOD* od, MQLONG options, MQHOBJ* hobj, MQLONG* compCode, MQLONG* reason) {
  RunOn(hconn, compCode, reason, [&](Connection& connection) { return Open(connection, od, options, hobj); });
}

LOCALMQ_EXPORT void MQCLOSE(MQHCONN hconn, MQHOBJ* hobj, MQLONG options, MQLONG* compCode, MQLONG* reason) {
  RunOn(hconn, compCode, reason, [&](Connection& connection) { return Close(connection, hobj, options); });
}

LOCALMQ_EXPORT void MQINQ(MQHCONN hconn, MQHOBJ hobj, MQLONG selectorCount, const MQLONG* selectors, MQLONG intCount,
                          MQLONG* ints, MQLONG charLength, MQCHAR* chars, MQLONG* compCode, MQLONG* reason) {
  RunOn(hconn, compCode, reason, [&](Connection& connection) {
    if (selectorCount < 0 || selectorCount > 256) return Failed(MQRC_SELECTOR_COUNT_ERROR);
    if (intCount < 0) return Failed(MQRC_INT_ATTR_COUNT_ERROR);
    if (charLength < 0) return Failed(MQRC_CHAR_ATTR_LENGTH_ERROR);
    if (selectorCount > 0 && selectors == nullptr) return Failed(MQRC_SELECTOR_ERROR);
    if (intCount > 0 && ints == nullptr) return Failed(MQRC_INT_ATTRS_ARRAY_ERROR);
    if (charLength > 0 && chars == nullptr) return Failed(MQRC_CHAR_ATTRS_ERROR);
    return Inquire(connection, hobj, {selectors, static_cast<std::size_t>(selectorCount)},
                   {ints, static_cast<std::size_t>(intCount)}, {chars, static_cast<std::size_t>(charLength)});
  });
}

LOCALMQ_EXPORT void MQSET(MQHCONN hconn, MQHOBJ hobj, MQLONG, const MQLONG*, MQLONG, const MQLONG*, MQLONG,
                          const MQCHAR*, MQLONG* compCode, MQLONG* reason) {
  RunOn(hconn, compCode, reason, [&](Connection& connection) {
    const OpenObject* object = connection.Find(hobj);
    if (object == nullptr) return Failed(MQRC_HOBJ_ERROR);
    if ((object->Options & MQOO_SET) == 0) return Failed(MQRC_NOT_OPEN_FOR_SET);
    return Failed(MQRC_FUNCTION_NOT_SUPPORTED);
  });
}

LOCALMQ_EXPORT void MQGET(MQHCONN hconn, MQHOBJ hobj, MQMD* md, MQGMO* gmo, MQLONG bufferLength, void* buffer,
                          MQLONG* dataLength, MQLONG* compCode, MQLONG* reason) {
  RunOn(hconn, compCode, reason, [&](Connection& connection) {
    if (bufferLength < 0) return Failed(MQRC_BUFFER_LENGTH_ERROR);
    if (bufferLength > 0 && buffer == nullptr) return Failed(MQRC_BUFFER_ERROR);
    if (dataLength == nullptr) return Failed(MQRC_DATA_LENGTH_ERROR);
    const GetRequest request{
        md, gmo, {static_cast<std::uint8_t*>(buffer), static_cast<std::size_t>(bufferLength)}, dataLength};
    return Get(connection, hobj, request);
  });
}

LOCALMQ_EXPORT void MQPUT(MQHCONN hconn, MQHOBJ hobj, MQMD* md, MQPMO* pmo, MQLONG length, const void* data,
                          MQLONG* compCode, MQLONG* reason) {
  RunOn(hconn, compCode, reason, [&](Connection& connection) {
    if (length < 0) return Failed(MQRC_BUFFER_LENGTH_ERROR);
    if (length > 0 && data == nullptr) return Failed(MQRC_BUFFER_ERROR);
    return Put(connection, hobj, md, pmo, {static_cast<const std::uint8_t*>(data), static_cast<std::size_t>(length)});
  });
}

LOCALMQ_EXPORT void MQPUT1(MQHCONN hconn, MQOD* od, MQMD* md, MQPMO* pmo, MQLONG length, const void* data,
                           MQLONG* compCode, MQLONG* reason) {
  RunOn(hconn, compCode, reason, [&](Connection& connection) {
    if (length < 0) return Failed(MQRC_BUFFER_LENGTH_ERROR);
    if (length > 0 && data == nullptr) return Failed(MQRC_BUFFER_ERROR);
    return PutOne(connection, od, md, pmo, {static_cast<const std::uint8_t*>(data), static_cast<std::size_t>(length)});
  });
}

LOCALMQ_EXPORT void MQCMIT(MQHCONN hconn, MQLONG* compCode, MQLONG* reason) {
  RunOn(hconn, compCode, reason, [](Connection& connection) { return Commit(connection); });
}

LOCALMQ_EXPORT void MQBACK(MQHCONN hconn, MQLONG* compCode, MQLONG* reason) {
  RunOn(hconn, compCode, reason, [](Connection& connection) { return BackOut(connection); });
}

LOCALMQ_EXPORT void MQCB(MQHCONN hconn, MQLONG operation, MQCBD* cbd, MQHOBJ hobj, MQMD* md, MQGMO* gmo,
                         MQLONG* compCode, MQLONG* reason) {
  RunOn(hconn, compCode, reason,
        [&](Connection& connection) { return connection.Consuming->Callback(operation, cbd, hobj, md, gmo); });
}

LOCALMQ_EXPORT void MQCTL(MQHCONN hconn, MQLONG operation, MQCTLO* options, MQLONG* compCode, MQLONG* reason) {
  Run(compCode, reason, [&] { return ControlConsumers(hconn, operation, options); });
}

LOCALMQ_EXPORT void MQSTAT(MQHCONN hconn, MQLONG type, MQSTS* status, MQLONG* compCode, MQLONG* reason) {
  RunOn(hconn, compCode, reason, [&](Connection& connection) { return AskStatus(connection, type, status); });
}

LOCALMQ_EXPORT void MQSUB(MQHCONN, void*, MQHOBJ*, MQHOBJ*, MQLONG* compCode, MQLONG* reason) {
  Refuse(compCode, reason);
}

LOCALMQ_EXPORT void MQSUBRQ(MQHCONN, MQHOBJ, MQLONG, void*, MQLONG* compCode, MQLONG* reason) {
  Refuse(compCode, reason);
}

LOCALMQ_EXPORT void MQCRTMH(MQHCONN, void*, MQHMSG*, MQLONG* compCode, MQLONG* reason) { Refuse(compCode, reason); }

LOCALMQ_EXPORT void MQDLTMH(MQHCONN, MQHMSG*, void*, MQLONG* compCode, MQLONG* reason) { Refuse(compCode, reason); }

LOCALMQ_EXPORT void MQINQMP(MQHCONN, MQHMSG, void*, MQCHARV*, void*, MQLONG*, MQLONG, void*, MQLONG*, MQLONG* compCode,
                            MQLONG* reason) {
  Refuse(compCode, reason);
}

LOCALMQ_EXPORT void MQSETMP(MQHCONN, MQHMSG, void*, MQCHARV*, void*, MQLONG, MQLONG, void*, MQLONG* compCode,
                            MQLONG* reason) {
  Refuse(compCode, reason);
}

LOCALMQ_EXPORT void MQDLTMP(MQHCONN, MQHMSG, void*, MQCHARV*, MQLONG* compCode, MQLONG* reason) {
  Refuse(compCode, reason);
}

LOCALMQ_EXPORT void MQBUFMH(MQHCONN, MQHMSG, void*, MQMD*, MQLONG, void*, MQLONG*, MQLONG* compCode, MQLONG* reason) {
  Refuse(compCode, reason);
}

LOCALMQ_EXPORT void MQMHBUF(MQHCONN, MQHMSG, void*, MQCHARV*, MQMD*, MQLONG, void*, MQLONG*, MQLONG* compCode,
                            MQLONG* reason) {
  Refuse(compCode, reason);
}

}  // extern "C"

// The exports are what callers expect of the interface.
static_assert(std::is_same_v<decltype(MQCONNX), MqConnxCall> && std::is_same_v<decltype(MQOPEN), MqOpenCall> &&
              std::is_same_v<decltype(MQGET), MqGetCall> && std::is_same_v<decltype(MQPUT), MqPutCall> &&
              std::is_same_v<decltype(MQPUT1), MqPut1Call> && std::is_same_v<decltype(MQINQ), MqInqCall> &&
              std::is_same_v<decltype(MQCB), MqCbCall> && std::is_same_v<decltype(MQCTL), MqCtlCall> &&
              std::is_same_v<decltype(MQSTAT), MqStatCall>);
