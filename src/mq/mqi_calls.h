#pragma once

// The signatures of the 24 entries of the programming interface, as function types. The entry table (api.h) points to
// such functions; the libraries that export them (localmq, tests/faultmq, bench/nullmq) check theirs against these.
// All have C linkage, return nothing and end with CompCode and Reason. Queue manager names are 48 characters.

#include "mq/mqi.h"

extern "C" {
using MqBackCall = void(MQHCONN, MQLONG*, MQLONG*);
using MqCloseCall = void(MQHCONN, MQHOBJ*, MQLONG options, MQLONG*, MQLONG*);
using MqCmitCall = void(MQHCONN, MQLONG*, MQLONG*);
using MqConnCall = void(const MQCHAR* qmgr, MQHCONN*, MQLONG*, MQLONG*);
using MqConnxCall = void(const MQCHAR* qmgr, MQCNO*, MQHCONN*, MQLONG*, MQLONG*);
using MqDiscCall = void(MQHCONN*, MQLONG*, MQLONG*);
using MqGetCall = void(MQHCONN, MQHOBJ, MQMD*, MQGMO*, MQLONG bufferLength, void* buffer, MQLONG* dataLength, MQLONG*,
                       MQLONG*);
using MqInqCall = void(MQHCONN, MQHOBJ, MQLONG selectorCount, const MQLONG* selectors, MQLONG intCount, MQLONG* ints,
                       MQLONG charLength, MQCHAR* chars, MQLONG*, MQLONG*);
using MqOpenCall = void(MQHCONN, MQOD*, MQLONG options, MQHOBJ*, MQLONG*, MQLONG*);
using MqPutCall = void(MQHCONN, MQHOBJ, MQMD*, MQPMO*, MQLONG length, const void* data, MQLONG*, MQLONG*);
using MqPut1Call = void(MQHCONN, MQOD*, MQMD*, MQPMO*, MQLONG length, const void* data, MQLONG*, MQLONG*);
using MqSetCall = void(MQHCONN, MQHOBJ, MQLONG selectorCount, const MQLONG* selectors, MQLONG intCount,
                       const MQLONG* ints, MQLONG charLength, const MQCHAR* chars, MQLONG*, MQLONG*);
using MqSubCall = void(MQHCONN, void* subDesc, MQHOBJ*, MQHOBJ* hsub, MQLONG*, MQLONG*);
using MqSubrqCall = void(MQHCONN, MQHOBJ hsub, MQLONG action, void* options, MQLONG*, MQLONG*);
using MqCbCall = void(MQHCONN, MQLONG operation, MQCBD*, MQHOBJ, MQMD*, MQGMO*, MQLONG*, MQLONG*);
using MqCtlCall = void(MQHCONN, MQLONG operation, MQCTLO*, MQLONG*, MQLONG*);
using MqCrtmhCall = void(MQHCONN, void* options, MQHMSG*, MQLONG*, MQLONG*);
using MqDltmhCall = void(MQHCONN, MQHMSG*, void* options, MQLONG*, MQLONG*);
using MqInqmpCall = void(MQHCONN, MQHMSG, void* options, MQCHARV* name, void* propDesc, MQLONG* type,
                         MQLONG valueLength, void* value, MQLONG* dataLength, MQLONG*, MQLONG*);
using MqSetmpCall = void(MQHCONN, MQHMSG, void* options, MQCHARV* name, void* propDesc, MQLONG type, MQLONG valueLength,
                         void* value, MQLONG*, MQLONG*);
using MqDltmpCall = void(MQHCONN, MQHMSG, void* options, MQCHARV* name, MQLONG*, MQLONG*);
using MqBufmhCall = void(MQHCONN, MQHMSG, void* options, MQMD*, MQLONG bufferLength, void* buffer, MQLONG* dataLength,
                         MQLONG*, MQLONG*);
using MqMhbufCall = void(MQHCONN, MQHMSG, void* options, MQCHARV* name, MQMD*, MQLONG bufferLength, void* buffer,
                         MQLONG* dataLength, MQLONG*, MQLONG*);
using MqStatCall = void(MQHCONN, MQLONG type, MQSTS* status, MQLONG*, MQLONG*);

// The function that a queue manager calls for a message or an event (MQCBD.CallbackFunction).
using MqConsumerFunction = void(MQHCONN, MQMD*, MQGMO*, void* buffer, MQCBC*);
}
