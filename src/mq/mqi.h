#pragma once

// The IBM MQ programming interface as this project uses it, on 64-bit Linux and 64-bit Windows (x86-64; the layouts are
// the same on both): base types, structures with their published defaults, and the call signatures. Values of option
// bits, selectors and formats are in mqi_constants.h, reason codes in mqi_reasons.h, which is made from reasons.tsv.
// Every size and offset is proven in mqi_layout.cpp. A field beyond the version in a structure's `Version` is neither
// read nor written by either side of a call, so callers must raise `Version` before they fill such a field.

#include <cstdint>

#include "mq/mqi_constants.h"
#include "mq/mqi_reasons.h"

using MQHCONN = MQLONG;
using MQHOBJ = MQLONG;
using MQHMSG = std::int64_t;
using MQINT64 = std::int64_t;
using MQCHAR = char;
using MQBYTE = std::uint8_t;
using MQPTR = void*;
using MQCHAR4 = MQCHAR[4];
using MQCHAR8 = MQCHAR[8];
using MQCHAR12 = MQCHAR[12];
using MQCHAR28 = MQCHAR[28];
using MQCHAR32 = MQCHAR[32];
using MQCHAR48 = MQCHAR[48];
using MQCHAR128 = MQCHAR[128];
using MQBYTE4 = MQBYTE[4];
using MQBYTE8 = MQBYTE[8];
using MQBYTE16 = MQBYTE[16];
using MQBYTE24 = MQBYTE[24];
using MQBYTE32 = MQBYTE[32];
using MQBYTE40 = MQBYTE[40];
using MQBYTE128 = MQBYTE[128];

struct MQMD {
  MQCHAR4 StrucId{'M', 'D', ' ', ' '};
  MQLONG Version{1};
  MQLONG Report{0};
  MQLONG MsgType{8};
  MQLONG Expiry{-1};
  MQLONG Feedback{0};
  MQLONG Encoding{546};
  MQLONG CodedCharSetId{0};
  MQCHAR8 Format{' ', ' ', ' ', ' ', ' ', ' ', ' ', ' '};
  MQLONG Priority{-1};
  MQLONG Persistence{2};
  MQBYTE24 MsgId{};
  MQBYTE24 CorrelId{};
  MQLONG BackoutCount{0};
  MQCHAR48 ReplyToQ{};
  MQCHAR48 ReplyToQMgr{};
  MQCHAR12 UserIdentifier{};
  MQBYTE32 AccountingToken{};
  MQCHAR32 ApplIdentityData{};
  MQLONG PutApplType{0};
  MQCHAR28 PutApplName{};
  MQCHAR8 PutDate{};
  MQCHAR8 PutTime{};
  MQCHAR4 ApplOriginData{};
  MQBYTE24 GroupId{};
  MQLONG MsgSeqNumber{1};
  MQLONG Offset{0};
  MQLONG MsgFlags{0};
  MQLONG OriginalLength{-1};
};

struct MQMD1 {
  MQCHAR4 StrucId{'M', 'D', ' ', ' '};
  MQLONG Version{1};
  MQLONG Report{0};
  MQLONG MsgType{8};
  MQLONG Expiry{-1};
  MQLONG Feedback{0};
  MQLONG Encoding{546};
  MQLONG CodedCharSetId{0};
  MQCHAR8 Format{' ', ' ', ' ', ' ', ' ', ' ', ' ', ' '};
  MQLONG Priority{-1};
  MQLONG Persistence{2};
  MQBYTE24 MsgId{};
  MQBYTE24 CorrelId{};
  MQLONG BackoutCount{0};
  MQCHAR48 ReplyToQ{};
  MQCHAR48 ReplyToQMgr{};
  MQCHAR12 UserIdentifier{};
  MQBYTE32 AccountingToken{};
  MQCHAR32 ApplIdentityData{};
  MQLONG PutApplType{0};
  MQCHAR28 PutApplName{};
  MQCHAR8 PutDate{};
  MQCHAR8 PutTime{};
  MQCHAR4 ApplOriginData{};
};

struct MQCHARV {
  MQPTR VSPtr{};
  MQLONG VSOffset{0};
  MQLONG VSBufSize{0};
  MQLONG VSLength{0};
  MQLONG VSCCSID{-3};
};

struct MQOD {
  MQCHAR4 StrucId{'O', 'D', ' ', ' '};
  MQLONG Version{1};
  MQLONG ObjectType{1};
  MQCHAR48 ObjectName{};
  MQCHAR48 ObjectQMgrName{};
  MQCHAR48 DynamicQName{'A', 'M', 'Q', '.', '*'};
  MQCHAR12 AlternateUserId{};
  MQLONG RecsPresent{0};
  MQLONG KnownDestCount{0};
  MQLONG UnknownDestCount{0};
  MQLONG InvalidDestCount{0};
  MQLONG ObjectRecOffset{0};
  MQLONG ResponseRecOffset{0};
  MQPTR ObjectRecPtr{};
  MQPTR ResponseRecPtr{};
  MQBYTE40 AlternateSecurityId{};
  MQCHAR48 ResolvedQName{};
  MQCHAR48 ResolvedQMgrName{};
  MQCHARV ObjectString{};
  MQCHARV SelectionString{};
  MQCHARV ResObjectString{};
  MQLONG ResolvedType{0};
};

struct MQOR {
  MQCHAR48 ObjectName{};
  MQCHAR48 ObjectQMgrName{};
};

struct MQRR {
  MQLONG CompCode{};
  MQLONG Reason{};
};

struct MQGMO {
  MQCHAR4 StrucId{'G', 'M', 'O', ' '};
  MQLONG Version{1};
  MQLONG Options{0};
  MQLONG WaitInterval{0};
  MQLONG Signal1{0};
  MQLONG Signal2{0};
  MQCHAR48 ResolvedQName{};
  MQLONG MatchOptions{3};
  MQCHAR GroupStatus{' '};
  MQCHAR SegmentStatus{' '};
  MQCHAR Segmentation{' '};
  MQCHAR Reserved1{' '};
  MQBYTE16 MsgToken{};
  MQLONG ReturnedLength{-1};
  MQLONG Reserved2{0};
  MQHMSG MsgHandle{0};
};

struct MQPMO {
  MQCHAR4 StrucId{'P', 'M', 'O', ' '};
  MQLONG Version{1};
  MQLONG Options{0};
  MQLONG Timeout{-1};
  MQHOBJ Context{0};
  MQLONG KnownDestCount{0};
  MQLONG UnknownDestCount{0};
  MQLONG InvalidDestCount{0};
  MQCHAR48 ResolvedQName{};
  MQCHAR48 ResolvedQMgrName{};
  MQLONG RecsPresent{0};
  MQLONG PutMsgRecFields{0};
  MQLONG PutMsgRecOffset{0};
  MQLONG ResponseRecOffset{0};
  MQPTR PutMsgRecPtr{};
  MQPTR ResponseRecPtr{};
  MQHMSG OriginalMsgHandle{0};
  MQHMSG NewMsgHandle{0};
  MQLONG Action{0};
  MQLONG PubLevel{9};
};

struct MQCNO {
  MQCHAR4 StrucId{'C', 'N', 'O', ' '};
  MQLONG Version{1};
  MQLONG Options{0};
  MQLONG ClientConnOffset{0};
  MQPTR ClientConnPtr{};
  MQBYTE128 ConnTag{};
  MQPTR SSLConfigPtr{};
  MQLONG SSLConfigOffset{0};
  MQBYTE24 ConnectionId{};
  MQLONG SecurityParmsOffset{0};
  MQPTR SecurityParmsPtr{};
  MQPTR CCDTUrlPtr{};
  MQLONG CCDTUrlOffset{0};
  MQLONG CCDTUrlLength{0};
  MQBYTE8 Reserved{};
  MQCHAR28 ApplName{' ', ' ', ' ', ' ', ' ', ' ', ' ', ' ', ' ', ' ', ' ', ' ', ' ', ' ',
                    ' ', ' ', ' ', ' ', ' ', ' ', ' ', ' ', ' ', ' ', ' ', ' ', ' ', ' '};
  MQBYTE4 Reserved2{};
  MQPTR BalanceParmsPtr{};
  MQLONG BalanceParmsOffset{0};
  MQBYTE4 Reserved3{};
};

struct MQCSP {
  MQCHAR4 StrucId{'C', 'S', 'P', ' '};
  MQLONG Version{1};
  MQLONG AuthenticationType{0};
  MQBYTE4 Reserved1{};
  MQPTR CSPUserIdPtr{};
  MQLONG CSPUserIdOffset{0};
  MQLONG CSPUserIdLength{0};
  MQBYTE8 Reserved2{};
  MQPTR CSPPasswordPtr{};
  MQLONG CSPPasswordOffset{0};
  MQLONG CSPPasswordLength{0};
  MQBYTE8 Reserved3{};
  MQPTR InitialKeyPtr{};
  MQLONG InitialKeyOffset{0};
  MQLONG InitialKeyLength{0};
  MQBYTE8 Reserved4{};
  MQPTR TokenPtr{};
  MQLONG TokenOffset{0};
  MQLONG TokenLength{0};
};

struct MQCBD {
  MQCHAR4 StrucId{'C', 'B', 'D', ' '};
  MQLONG Version{1};
  MQLONG CallbackType{1};
  MQLONG Options{0};
  MQPTR CallbackArea{};
  MQPTR CallbackFunction{};
  MQCHAR128 CallbackName{};
  MQLONG MaxMsgLength{-1};
};

struct MQCBC {
  MQCHAR4 StrucId{};
  MQLONG Version{};
  MQLONG CallType{};
  MQHOBJ Hobj{};
  MQPTR CallbackArea{};
  MQPTR ConnectionArea{};
  MQLONG CompCode{};
  MQLONG Reason{};
  MQLONG State{};
  MQLONG DataLength{};
  MQLONG BufferLength{};
  MQLONG Flags{};
  MQLONG ReconnectDelay{};
};

struct MQCTLO {
  MQCHAR4 StrucId{'C', 'T', 'L', 'O'};
  MQLONG Version{1};
  MQLONG Options{0};
  MQLONG Reserved{-1};
  MQPTR ConnectionArea{};
};

struct MQSTS {
  MQCHAR4 StrucId{'S', 'T', 'A', 'T'};
  MQLONG Version{1};
  MQLONG CompCode{0};
  MQLONG Reason{0};
  MQLONG PutSuccessCount{0};
  MQLONG PutWarningCount{0};
  MQLONG PutFailureCount{0};
  MQLONG ObjectType{1};
  MQCHAR48 ObjectName{};
  MQCHAR48 ObjectQMgrName{};
  MQCHAR48 ResolvedObjectName{};
  MQCHAR48 ResolvedQMgrName{};
};

struct MQDLH {
  MQCHAR4 StrucId{'D', 'L', 'H', ' '};
  MQLONG Version{1};
  MQLONG Reason{0};
  MQCHAR48 DestQName{};
  MQCHAR48 DestQMgrName{};
  MQLONG Encoding{0};
  MQLONG CodedCharSetId{0};
  MQCHAR8 Format{' ', ' ', ' ', ' ', ' ', ' ', ' ', ' '};
  MQLONG PutApplType{0};
  MQCHAR28 PutApplName{};
  MQCHAR8 PutDate{};
  MQCHAR8 PutTime{};
};

struct MQXQH {
  MQCHAR4 StrucId{'X', 'Q', 'H', ' '};
  MQLONG Version{1};
  MQCHAR48 RemoteQName{};
  MQCHAR48 RemoteQMgrName{};
  MQMD1 MsgDesc{};
};

struct MQRFH2 {
  MQCHAR4 StrucId{'R', 'F', 'H', ' '};
  MQLONG Version{2};
  MQLONG StrucLength{36};
  MQLONG Encoding{546};
  MQLONG CodedCharSetId{-2};
  MQCHAR8 Format{' ', ' ', ' ', ' ', ' ', ' ', ' ', ' '};
  MQLONG Flags{0};
  MQLONG NameValueCCSID{1208};
};

struct MQCFH {
  MQLONG Type{1};
  MQLONG StrucLength{36};
  MQLONG Version{1};
  MQLONG Command{0};
  MQLONG MsgSeqNumber{1};
  MQLONG Control{1};
  MQLONG CompCode{0};
  MQLONG Reason{0};
  MQLONG ParameterCount{0};
};

struct MQCFIN {
  MQLONG Type{3};
  MQLONG StrucLength{16};
  MQLONG Parameter{0};
  MQLONG Value{0};
};

struct MQCFIL {
  MQLONG Type{5};
  MQLONG StrucLength{16};
  MQLONG Parameter{0};
  MQLONG Count{0};
  MQLONG Values[1]{};
};

struct MQCFST {
  MQLONG Type{4};
  MQLONG StrucLength{20};
  MQLONG Parameter{0};
  MQLONG CodedCharSetId{0};
  MQLONG StringLength{0};
  MQCHAR String[1]{};
};

struct MQCFSL {
  MQLONG Type{6};
  MQLONG StrucLength{24};
  MQLONG Parameter{0};
  MQLONG CodedCharSetId{0};
  MQLONG Count{0};
  MQLONG StringLength{0};
  MQCHAR Strings[1]{};
};

struct MQCFBS {
  MQLONG Type{9};
  MQLONG StrucLength{16};
  MQLONG Parameter{0};
  MQLONG StringLength{0};
  MQBYTE String[1]{};
};

struct MQCFIN64 {
  MQLONG Type{23};
  MQLONG StrucLength{24};
  MQLONG Parameter{0};
  MQLONG Reserved{0};
  MQINT64 Value{0};
};

struct MQCFGR {
  MQLONG Type{20};
  MQLONG StrucLength{16};
  MQLONG Parameter{0};
  MQLONG ParameterCount{0};
};
