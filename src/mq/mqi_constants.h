#pragma once

// Constants of the IBM MQ programming interface, by their published names and values.

#include <cstdint>

using MQLONG = std::int32_t;

inline constexpr MQLONG MQAT_AIX = 6;
inline constexpr MQLONG MQAT_AMQP = 37;
inline constexpr MQLONG MQAT_BATCH = 32;
inline constexpr MQLONG MQAT_BROKER = 26;
inline constexpr MQLONG MQAT_CHANNEL_INITIATOR = 30;
inline constexpr MQLONG MQAT_CICS = 1;
inline constexpr MQLONG MQAT_CICS_BRIDGE = 21;
inline constexpr MQLONG MQAT_CICS_VSE = 10;
#ifdef _WIN32
inline constexpr MQLONG MQAT_DEFAULT = 11;
#else
inline constexpr MQLONG MQAT_DEFAULT = 6;
#endif
inline constexpr MQLONG MQAT_DOS = 5;
inline constexpr MQLONG MQAT_DQM = 29;
inline constexpr MQLONG MQAT_GUARDIAN = 13;
inline constexpr MQLONG MQAT_IMS = 3;
inline constexpr MQLONG MQAT_IMS_BRIDGE = 19;
inline constexpr MQLONG MQAT_JAVA = 28;
inline constexpr MQLONG MQAT_MCAST_PUBLISH = 36;
inline constexpr MQLONG MQAT_MVS = 2;
inline constexpr MQLONG MQAT_NOTES_AGENT = 22;
inline constexpr MQLONG MQAT_NO_CONTEXT = 0;
inline constexpr MQLONG MQAT_NSK = 13;
inline constexpr MQLONG MQAT_OPEN_TP1 = 15;
inline constexpr MQLONG MQAT_OS2 = 4;
inline constexpr MQLONG MQAT_OS390 = 2;
inline constexpr MQLONG MQAT_OS400 = 8;
inline constexpr MQLONG MQAT_QMGR = 7;
inline constexpr MQLONG MQAT_QMGR_PUBLISH = 26;
inline constexpr MQLONG MQAT_RRS_BATCH = 33;
inline constexpr MQLONG MQAT_SIB = 34;
inline constexpr MQLONG MQAT_SYSTEM_EXTENSION = 35;
inline constexpr MQLONG MQAT_TPF = 23;
inline constexpr MQLONG MQAT_UNIX = 6;
inline constexpr MQLONG MQAT_UNKNOWN = -1;
inline constexpr MQLONG MQAT_USER = 25;
inline constexpr MQLONG MQAT_USER_FIRST = 65536;
inline constexpr MQLONG MQAT_USER_LAST = 999999999;
inline constexpr MQLONG MQAT_VM = 18;
inline constexpr MQLONG MQAT_VMS = 12;
inline constexpr MQLONG MQAT_VOS = 14;
inline constexpr MQLONG MQAT_WINDOWS = 9;
inline constexpr MQLONG MQAT_WINDOWS_NT = 11;
inline constexpr MQLONG MQAT_WLM = 31;
inline constexpr MQLONG MQAT_XCF = 20;
inline constexpr MQLONG MQAT_ZOS = 2;

inline constexpr MQLONG MQCA_BACKOUT_REQ_Q_NAME = 2019;
inline constexpr MQLONG MQCA_BASE_OBJECT_NAME = 2002;
inline constexpr MQLONG MQCA_BASE_Q_NAME = 2002;
inline constexpr MQLONG MQCA_COMMAND_INPUT_Q_NAME = 2003;
inline constexpr MQLONG MQCA_DEAD_LETTER_Q_NAME = 2006;
inline constexpr MQLONG MQCA_FIRST = 2001;
inline constexpr MQLONG MQCA_LAST = 4000;
inline constexpr MQLONG MQCA_Q_DESC = 2013;
inline constexpr MQLONG MQCA_Q_MGR_NAME = 2015;
inline constexpr MQLONG MQCA_Q_NAME = 2016;
inline constexpr MQLONG MQCA_REMOTE_Q_MGR_NAME = 2017;
inline constexpr MQLONG MQCA_REMOTE_Q_NAME = 2018;
inline constexpr MQLONG MQCA_XMIT_Q_NAME = 2024;

inline constexpr MQLONG MQCBCF_NONE = 0;
inline constexpr MQLONG MQCBCF_READA_BUFFER_EMPTY = 1;

inline constexpr MQLONG MQCBCT_DEREGISTER_CALL = 4;
inline constexpr MQLONG MQCBCT_EVENT_CALL = 5;
inline constexpr MQLONG MQCBCT_MC_EVENT_CALL = 8;
inline constexpr MQLONG MQCBCT_MSG_NOT_REMOVED = 7;
inline constexpr MQLONG MQCBCT_MSG_REMOVED = 6;
inline constexpr MQLONG MQCBCT_REGISTER_CALL = 3;
inline constexpr MQLONG MQCBCT_START_CALL = 1;
inline constexpr MQLONG MQCBCT_STOP_CALL = 2;

inline constexpr MQLONG MQCBC_CURRENT_LENGTH = 64;
inline constexpr MQLONG MQCBC_CURRENT_VERSION = 2;
inline constexpr MQLONG MQCBC_LENGTH_1 = 56;
inline constexpr MQLONG MQCBC_LENGTH_2 = 64;
inline constexpr char MQCBC_STRUC_ID[] = "CBC ";
inline constexpr MQLONG MQCBC_VERSION_1 = 1;
inline constexpr MQLONG MQCBC_VERSION_2 = 2;

inline constexpr MQLONG MQCBDO_DEREGISTER_CALL = 512;
inline constexpr MQLONG MQCBDO_EVENT_CALL = 16384;
inline constexpr MQLONG MQCBDO_FAIL_IF_QUIESCING = 8192;
inline constexpr MQLONG MQCBDO_MC_EVENT_CALL = 32768;
inline constexpr MQLONG MQCBDO_NONE = 0;
inline constexpr MQLONG MQCBDO_REGISTER_CALL = 256;
inline constexpr MQLONG MQCBDO_START_CALL = 1;
inline constexpr MQLONG MQCBDO_STOP_CALL = 4;

inline constexpr MQLONG MQCBD_CURRENT_LENGTH = 168;
inline constexpr MQLONG MQCBD_CURRENT_VERSION = 1;
inline constexpr MQLONG MQCBD_FULL_MSG_LENGTH = -1;
inline constexpr MQLONG MQCBD_LENGTH_1 = 168;
inline constexpr char MQCBD_STRUC_ID[] = "CBD ";
inline constexpr MQLONG MQCBD_VERSION_1 = 1;

inline constexpr MQLONG MQCBT_EVENT_HANDLER = 2;
inline constexpr MQLONG MQCBT_MESSAGE_CONSUMER = 1;

inline constexpr MQLONG MQCCSI_APPL = 1208;
inline constexpr MQLONG MQCCSI_AS_PUBLISHED = -4;
inline constexpr MQLONG MQCCSI_DEFAULT = 0;
inline constexpr MQLONG MQCCSI_EMBEDDED = -1;
inline constexpr MQLONG MQCCSI_INHERIT = -2;
inline constexpr MQLONG MQCCSI_Q_MGR = 0;
inline constexpr MQLONG MQCCSI_UNDEFINED = 0;

inline constexpr MQLONG MQCC_FAILED = 2;
inline constexpr MQLONG MQCC_OK = 0;
inline constexpr MQLONG MQCC_UNKNOWN = -1;
inline constexpr MQLONG MQCC_WARNING = 1;

inline constexpr MQLONG MQCFBS_STRUC_LENGTH_FIXED = 16;

inline constexpr MQLONG MQCFC_LAST = 1;
inline constexpr MQLONG MQCFC_NOT_LAST = 0;

inline constexpr MQLONG MQCFGR_STRUC_LENGTH = 16;

inline constexpr MQLONG MQCFH_CURRENT_VERSION = 3;
inline constexpr MQLONG MQCFH_STRUC_LENGTH = 36;
inline constexpr MQLONG MQCFH_VERSION_1 = 1;
inline constexpr MQLONG MQCFH_VERSION_2 = 2;
inline constexpr MQLONG MQCFH_VERSION_3 = 3;

inline constexpr MQLONG MQCFIL_STRUC_LENGTH_FIXED = 16;

inline constexpr MQLONG MQCFIN64_STRUC_LENGTH = 24;

inline constexpr MQLONG MQCFIN_STRUC_LENGTH = 16;

inline constexpr MQLONG MQCFSL_STRUC_LENGTH_FIXED = 24;

inline constexpr MQLONG MQCFST_STRUC_LENGTH_FIXED = 20;

inline constexpr MQLONG MQCFT_ACCOUNTING = 22;
inline constexpr MQLONG MQCFT_APP_ACTIVITY = 26;
inline constexpr MQLONG MQCFT_BYTE_STRING = 9;
inline constexpr MQLONG MQCFT_BYTE_STRING_FILTER = 15;
inline constexpr MQLONG MQCFT_COMMAND = 1;
inline constexpr MQLONG MQCFT_COMMAND_XR = 16;
inline constexpr MQLONG MQCFT_EVENT = 7;
inline constexpr MQLONG MQCFT_GROUP = 20;
inline constexpr MQLONG MQCFT_INTEGER = 3;
inline constexpr MQLONG MQCFT_INTEGER64 = 23;
inline constexpr MQLONG MQCFT_INTEGER64_LIST = 25;
inline constexpr MQLONG MQCFT_INTEGER_FILTER = 13;
inline constexpr MQLONG MQCFT_INTEGER_LIST = 5;
inline constexpr MQLONG MQCFT_NONE = 0;
inline constexpr MQLONG MQCFT_REPORT = 12;
inline constexpr MQLONG MQCFT_RESPONSE = 2;
inline constexpr MQLONG MQCFT_STATISTICS = 21;
inline constexpr MQLONG MQCFT_STATUS = 27;
inline constexpr MQLONG MQCFT_STRING = 4;
inline constexpr MQLONG MQCFT_STRING_FILTER = 14;
inline constexpr MQLONG MQCFT_STRING_LIST = 6;
inline constexpr MQLONG MQCFT_TRACE_ROUTE = 10;
inline constexpr MQLONG MQCFT_USER = 8;
inline constexpr MQLONG MQCFT_XR_ITEM = 18;
inline constexpr MQLONG MQCFT_XR_MSG = 17;
inline constexpr MQLONG MQCFT_XR_SUMMARY = 19;

inline constexpr MQLONG MQCMD_INQUIRE_Q = 13;
inline constexpr MQLONG MQCMD_INQUIRE_Q_NAMES = 18;
inline constexpr MQLONG MQCMD_INQUIRE_Q_STATUS = 41;

inline constexpr MQLONG MQCNO_ACCOUNTING_MQI_DISABLED = 8192;
inline constexpr MQLONG MQCNO_ACCOUNTING_MQI_ENABLED = 4096;
inline constexpr MQLONG MQCNO_ACCOUNTING_Q_DISABLED = 32768;
inline constexpr MQLONG MQCNO_ACCOUNTING_Q_ENABLED = 16384;
inline constexpr MQLONG MQCNO_ACTIVITY_TRACE_DISABLED = 268435456;
inline constexpr MQLONG MQCNO_ACTIVITY_TRACE_ENABLED = 134217728;
inline constexpr MQLONG MQCNO_ALL_CONVS_SHARE = 262144;
inline constexpr MQLONG MQCNO_CD_FOR_OUTPUT_ONLY = 524288;
inline constexpr MQLONG MQCNO_CLIENT_BINDING = 2048;
inline constexpr MQLONG MQCNO_CURRENT_LENGTH = 272;
inline constexpr MQLONG MQCNO_CURRENT_VERSION = 8;
inline constexpr MQLONG MQCNO_FASTPATH_BINDING = 1;
inline constexpr MQLONG MQCNO_GENERATE_CONN_TAG = 2097152;
inline constexpr MQLONG MQCNO_HANDLE_SHARE_BLOCK = 64;
inline constexpr MQLONG MQCNO_HANDLE_SHARE_NONE = 32;
inline constexpr MQLONG MQCNO_HANDLE_SHARE_NO_BLOCK = 128;
inline constexpr MQLONG MQCNO_ISOLATED_BINDING = 512;
inline constexpr MQLONG MQCNO_LENGTH_1 = 12;
inline constexpr MQLONG MQCNO_LENGTH_2 = 24;
inline constexpr MQLONG MQCNO_LENGTH_3 = 152;
inline constexpr MQLONG MQCNO_LENGTH_4 = 168;
inline constexpr MQLONG MQCNO_LENGTH_5 = 200;
inline constexpr MQLONG MQCNO_LENGTH_6 = 224;
inline constexpr MQLONG MQCNO_LENGTH_7 = 256;
inline constexpr MQLONG MQCNO_LENGTH_8 = 272;
inline constexpr MQLONG MQCNO_LOCAL_BINDING = 1024;
inline constexpr MQLONG MQCNO_NONE = 0;
inline constexpr MQLONG MQCNO_NO_CONV_SHARING = 65536;
inline constexpr MQLONG MQCNO_RECONNECT = 16777216;
inline constexpr MQLONG MQCNO_RECONNECT_AS_DEF = 0;
inline constexpr MQLONG MQCNO_RECONNECT_DISABLED = 33554432;
inline constexpr MQLONG MQCNO_RECONNECT_Q_MGR = 67108864;
inline constexpr MQLONG MQCNO_RESTRICT_CONN_TAG_QSG = 16;
inline constexpr MQLONG MQCNO_RESTRICT_CONN_TAG_Q_MGR = 8;
inline constexpr MQLONG MQCNO_SERIALIZE_CONN_TAG_QSG = 4;
inline constexpr MQLONG MQCNO_SERIALIZE_CONN_TAG_Q_MGR = 2;
inline constexpr MQLONG MQCNO_SHARED_BINDING = 256;
inline constexpr MQLONG MQCNO_STANDARD_BINDING = 0;
inline constexpr char MQCNO_STRUC_ID[] = "CNO ";
inline constexpr MQLONG MQCNO_USE_CD_SELECTION = 1048576;
inline constexpr MQLONG MQCNO_VERSION_1 = 1;
inline constexpr MQLONG MQCNO_VERSION_2 = 2;
inline constexpr MQLONG MQCNO_VERSION_3 = 3;
inline constexpr MQLONG MQCNO_VERSION_4 = 4;
inline constexpr MQLONG MQCNO_VERSION_5 = 5;
inline constexpr MQLONG MQCNO_VERSION_6 = 6;
inline constexpr MQLONG MQCNO_VERSION_7 = 7;
inline constexpr MQLONG MQCNO_VERSION_8 = 8;

inline constexpr MQLONG MQCO_DELETE = 1;
inline constexpr MQLONG MQCO_DELETE_PURGE = 2;
inline constexpr MQLONG MQCO_IMMEDIATE = 0;
inline constexpr MQLONG MQCO_KEEP_SUB = 4;
inline constexpr MQLONG MQCO_NONE = 0;
inline constexpr MQLONG MQCO_QUIESCE = 32;
inline constexpr MQLONG MQCO_REMOVE_SUB = 8;

inline constexpr MQLONG MQCSP_AUTH_ID_TOKEN = 2;
inline constexpr MQLONG MQCSP_AUTH_NONE = 0;
inline constexpr MQLONG MQCSP_AUTH_USER_ID_AND_PWD = 1;
inline constexpr MQLONG MQCSP_CURRENT_LENGTH = 104;
inline constexpr MQLONG MQCSP_CURRENT_VERSION = 3;
inline constexpr MQLONG MQCSP_LENGTH_1 = 56;
inline constexpr MQLONG MQCSP_LENGTH_2 = 80;
inline constexpr MQLONG MQCSP_LENGTH_3 = 104;
inline constexpr char MQCSP_STRUC_ID[] = "CSP ";
inline constexpr MQLONG MQCSP_VERSION_1 = 1;
inline constexpr MQLONG MQCSP_VERSION_2 = 2;
inline constexpr MQLONG MQCSP_VERSION_3 = 3;

inline constexpr MQLONG MQCS_NONE = 0;
inline constexpr MQLONG MQCS_STOPPED = 4;
inline constexpr MQLONG MQCS_SUSPENDED = 3;
inline constexpr MQLONG MQCS_SUSPENDED_TEMPORARY = 1;
inline constexpr MQLONG MQCS_SUSPENDED_USER_ACTION = 2;

inline constexpr MQLONG MQCTLO_CURRENT_LENGTH = 24;
inline constexpr MQLONG MQCTLO_CURRENT_VERSION = 1;
inline constexpr MQLONG MQCTLO_FAIL_IF_QUIESCING = 8192;
inline constexpr MQLONG MQCTLO_LENGTH_1 = 24;
inline constexpr MQLONG MQCTLO_NONE = 0;
inline constexpr char MQCTLO_STRUC_ID[] = "CTLO";
inline constexpr MQLONG MQCTLO_THREAD_AFFINITY = 1;
inline constexpr MQLONG MQCTLO_VERSION_1 = 1;

inline constexpr MQLONG MQDLH_CURRENT_LENGTH = 172;
inline constexpr MQLONG MQDLH_CURRENT_VERSION = 1;
inline constexpr MQLONG MQDLH_LENGTH_1 = 172;
inline constexpr char MQDLH_STRUC_ID[] = "DLH ";
inline constexpr MQLONG MQDLH_VERSION_1 = 1;

inline constexpr MQLONG MQEI_UNLIMITED = -1;

inline constexpr MQLONG MQENC_AS_PUBLISHED = -1;
inline constexpr MQLONG MQENC_DECIMAL_MASK = 240;
inline constexpr MQLONG MQENC_DECIMAL_NORMAL = 16;
inline constexpr MQLONG MQENC_DECIMAL_REVERSED = 32;
inline constexpr MQLONG MQENC_DECIMAL_UNDEFINED = 0;
inline constexpr MQLONG MQENC_FLOAT_IEEE_NORMAL = 256;
inline constexpr MQLONG MQENC_FLOAT_IEEE_REVERSED = 512;
inline constexpr MQLONG MQENC_FLOAT_MASK = 3840;
inline constexpr MQLONG MQENC_FLOAT_S390 = 768;
inline constexpr MQLONG MQENC_FLOAT_TNS = 1024;
inline constexpr MQLONG MQENC_FLOAT_UNDEFINED = 0;
inline constexpr MQLONG MQENC_INTEGER_MASK = 15;
inline constexpr MQLONG MQENC_INTEGER_NORMAL = 1;
inline constexpr MQLONG MQENC_INTEGER_REVERSED = 2;
inline constexpr MQLONG MQENC_INTEGER_UNDEFINED = 0;
inline constexpr MQLONG MQENC_NATIVE = 546;
inline constexpr MQLONG MQENC_NORMAL = 273;
inline constexpr MQLONG MQENC_RESERVED_MASK = -4096;
inline constexpr MQLONG MQENC_REVERSED = 546;
inline constexpr MQLONG MQENC_S390 = 785;
inline constexpr MQLONG MQENC_TNS = 1041;

inline constexpr char MQFMT_ADMIN[] = "MQADMIN ";
inline constexpr char MQFMT_AMQP[] = "MQAMQP  ";
inline constexpr char MQFMT_CHANNEL_COMPLETED[] = "MQCHCOM ";
inline constexpr char MQFMT_CICS[] = "MQCICS  ";
inline constexpr char MQFMT_COMMAND_1[] = "MQCMD1  ";
inline constexpr char MQFMT_COMMAND_2[] = "MQCMD2  ";
inline constexpr char MQFMT_DEAD_LETTER_HEADER[] = "MQDEAD  ";
inline constexpr char MQFMT_DIST_HEADER[] = "MQHDIST ";
inline constexpr char MQFMT_EMBEDDED_PCF[] = "MQHEPCF ";
inline constexpr char MQFMT_EVENT[] = "MQEVENT ";
inline constexpr char MQFMT_IMS[] = "MQIMS   ";
inline constexpr char MQFMT_IMS_VAR_STRING[] = "MQIMSVS ";
inline constexpr char MQFMT_MD_EXTENSION[] = "MQHMDE  ";
inline constexpr char MQFMT_NONE[] = "        ";
inline constexpr char MQFMT_PCF[] = "MQPCF   ";
inline constexpr char MQFMT_REF_MSG_HEADER[] = "MQHREF  ";
inline constexpr char MQFMT_RF_HEADER[] = "MQHRF   ";
inline constexpr char MQFMT_RF_HEADER_1[] = "MQHRF   ";
inline constexpr char MQFMT_RF_HEADER_2[] = "MQHRF2  ";
inline constexpr char MQFMT_STRING[] = "MQSTR   ";
inline constexpr char MQFMT_TRIGGER[] = "MQTRIG  ";
inline constexpr char MQFMT_WORK_INFO_HEADER[] = "MQHWIH  ";
inline constexpr char MQFMT_XMIT_Q_HEADER[] = "MQXMIT  ";

inline constexpr MQLONG MQGMO_ACCEPT_TRUNCATED_MSG = 64;
inline constexpr MQLONG MQGMO_ALL_MSGS_AVAILABLE = 131072;
inline constexpr MQLONG MQGMO_ALL_SEGMENTS_AVAILABLE = 262144;
inline constexpr MQLONG MQGMO_BROWSE_CO_OP = 18874384;
inline constexpr MQLONG MQGMO_BROWSE_FIRST = 16;
inline constexpr MQLONG MQGMO_BROWSE_HANDLE = 17825808;
inline constexpr MQLONG MQGMO_BROWSE_MSG_UNDER_CURSOR = 2048;
inline constexpr MQLONG MQGMO_BROWSE_NEXT = 32;
inline constexpr MQLONG MQGMO_COMPLETE_MSG = 65536;
inline constexpr MQLONG MQGMO_CONVERT = 16384;
inline constexpr MQLONG MQGMO_CURRENT_LENGTH = 112;
inline constexpr MQLONG MQGMO_CURRENT_VERSION = 4;
inline constexpr MQLONG MQGMO_FAIL_IF_QUIESCING = 8192;
inline constexpr MQLONG MQGMO_LENGTH_1 = 72;
inline constexpr MQLONG MQGMO_LENGTH_2 = 80;
inline constexpr MQLONG MQGMO_LENGTH_3 = 100;
inline constexpr MQLONG MQGMO_LENGTH_4 = 112;
inline constexpr MQLONG MQGMO_LOCK = 512;
inline constexpr MQLONG MQGMO_LOGICAL_ORDER = 32768;
inline constexpr MQLONG MQGMO_MARK_BROWSE_CO_OP = 2097152;
inline constexpr MQLONG MQGMO_MARK_BROWSE_HANDLE = 1048576;
inline constexpr MQLONG MQGMO_MARK_SKIP_BACKOUT = 128;
inline constexpr MQLONG MQGMO_MSG_UNDER_CURSOR = 256;
inline constexpr MQLONG MQGMO_NONE = 0;
inline constexpr MQLONG MQGMO_NO_PROPERTIES = 67108864;
inline constexpr MQLONG MQGMO_NO_SYNCPOINT = 4;
inline constexpr MQLONG MQGMO_NO_WAIT = 0;
inline constexpr MQLONG MQGMO_PROPERTIES_AS_Q_DEF = 0;
inline constexpr MQLONG MQGMO_PROPERTIES_COMPATIBILITY = 268435456;
inline constexpr MQLONG MQGMO_PROPERTIES_FORCE_MQRFH2 = 33554432;
inline constexpr MQLONG MQGMO_PROPERTIES_IN_HANDLE = 134217728;
inline constexpr MQLONG MQGMO_SET_SIGNAL = 8;
inline constexpr char MQGMO_STRUC_ID[] = "GMO ";
inline constexpr MQLONG MQGMO_SYNCPOINT = 2;
inline constexpr MQLONG MQGMO_SYNCPOINT_IF_PERSISTENT = 4096;
inline constexpr MQLONG MQGMO_UNLOCK = 1024;
inline constexpr MQLONG MQGMO_UNMARKED_BROWSE_MSG = 16777216;
inline constexpr MQLONG MQGMO_UNMARK_BROWSE_CO_OP = 4194304;
inline constexpr MQLONG MQGMO_UNMARK_BROWSE_HANDLE = 8388608;
inline constexpr MQLONG MQGMO_VERSION_1 = 1;
inline constexpr MQLONG MQGMO_VERSION_2 = 2;
inline constexpr MQLONG MQGMO_VERSION_3 = 3;
inline constexpr MQLONG MQGMO_VERSION_4 = 4;
inline constexpr MQLONG MQGMO_WAIT = 1;

inline constexpr MQLONG MQHC_DEF_HCONN = 0;
inline constexpr MQLONG MQHC_UNASSOCIATED_HCONN = -3;
inline constexpr MQLONG MQHC_UNUSABLE_HCONN = -1;

inline constexpr MQLONG MQHO_NONE = 0;
inline constexpr MQLONG MQHO_UNUSABLE_HOBJ = -1;

inline constexpr MQLONG MQIACF_ALL = 1009;
inline constexpr MQLONG MQIACF_CUR_MAX_FILE_SIZE = 1438;
inline constexpr MQLONG MQIACF_CUR_Q_FILE_SIZE = 1437;
inline constexpr MQLONG MQIACF_Q_ATTRS = 1002;
inline constexpr MQLONG MQIACF_Q_STATUS = 1105;
inline constexpr MQLONG MQIACF_Q_STATUS_ATTRS = 1026;
inline constexpr MQLONG MQIACF_Q_STATUS_TYPE = 1103;

inline constexpr MQLONG MQIA_BACKOUT_THRESHOLD = 22;
inline constexpr MQLONG MQIA_CODED_CHAR_SET_ID = 2;
inline constexpr MQLONG MQIA_COMMAND_LEVEL = 31;
inline constexpr MQLONG MQIA_CURRENT_Q_DEPTH = 3;
inline constexpr MQLONG MQIA_DEFINITION_TYPE = 7;
inline constexpr MQLONG MQIA_DEF_PERSISTENCE = 5;
inline constexpr MQLONG MQIA_DEF_PRIORITY = 6;
inline constexpr MQLONG MQIA_DIST_LISTS = 34;
inline constexpr MQLONG MQIA_FIRST = 1;
inline constexpr MQLONG MQIA_INHIBIT_GET = 9;
inline constexpr MQLONG MQIA_INHIBIT_PUT = 10;
inline constexpr MQLONG MQIA_LAST = 2000;
inline constexpr MQLONG MQIA_MAX_MSG_LENGTH = 13;
inline constexpr MQLONG MQIA_MAX_PRIORITY = 14;
inline constexpr MQLONG MQIA_MAX_Q_DEPTH = 15;
inline constexpr MQLONG MQIA_MAX_UNCOMMITTED_MSGS = 33;
inline constexpr MQLONG MQIA_MSG_DELIVERY_SEQUENCE = 16;
inline constexpr MQLONG MQIA_OPEN_INPUT_COUNT = 17;
inline constexpr MQLONG MQIA_OPEN_OUTPUT_COUNT = 18;
inline constexpr MQLONG MQIA_PLATFORM = 32;
inline constexpr MQLONG MQIA_Q_TYPE = 20;
inline constexpr MQLONG MQIA_SHAREABILITY = 23;
inline constexpr MQLONG MQIA_SYNCPOINT = 30;
inline constexpr MQLONG MQIA_USAGE = 12;

inline constexpr MQLONG MQMD_CURRENT_LENGTH = 364;
inline constexpr MQLONG MQMD_CURRENT_VERSION = 2;
inline constexpr MQLONG MQMD_LENGTH_1 = 324;
inline constexpr MQLONG MQMD_LENGTH_2 = 364;
inline constexpr char MQMD_STRUC_ID[] = "MD  ";
inline constexpr MQLONG MQMD_VERSION_1 = 1;
inline constexpr MQLONG MQMD_VERSION_2 = 2;

inline constexpr MQLONG MQMF_ACCEPT_UNSUP_IF_XMIT_MASK = 1044480;
inline constexpr MQLONG MQMF_ACCEPT_UNSUP_MASK = -1048576;
inline constexpr MQLONG MQMF_LAST_MSG_IN_GROUP = 16;
inline constexpr MQLONG MQMF_LAST_SEGMENT = 4;
inline constexpr MQLONG MQMF_MSG_IN_GROUP = 8;
inline constexpr MQLONG MQMF_NONE = 0;
inline constexpr MQLONG MQMF_REJECT_UNSUP_MASK = 4095;
inline constexpr MQLONG MQMF_SEGMENT = 2;
inline constexpr MQLONG MQMF_SEGMENTATION_ALLOWED = 1;
inline constexpr MQLONG MQMF_SEGMENTATION_INHIBITED = 0;

inline constexpr MQLONG MQMO_MATCH_CORREL_ID = 2;
inline constexpr MQLONG MQMO_MATCH_GROUP_ID = 4;
inline constexpr MQLONG MQMO_MATCH_MSG_ID = 1;
inline constexpr MQLONG MQMO_MATCH_MSG_SEQ_NUMBER = 8;
inline constexpr MQLONG MQMO_MATCH_MSG_TOKEN = 32;
inline constexpr MQLONG MQMO_MATCH_OFFSET = 16;
inline constexpr MQLONG MQMO_NONE = 0;

inline constexpr MQLONG MQMT_APPL_FIRST = 65536;
inline constexpr MQLONG MQMT_APPL_LAST = 999999999;
inline constexpr MQLONG MQMT_DATAGRAM = 8;
inline constexpr MQLONG MQMT_MQE_FIELDS = 113;
inline constexpr MQLONG MQMT_MQE_FIELDS_FROM_MQE = 112;
inline constexpr MQLONG MQMT_REPLY = 2;
inline constexpr MQLONG MQMT_REPORT = 4;
inline constexpr MQLONG MQMT_REQUEST = 1;
inline constexpr MQLONG MQMT_SYSTEM_FIRST = 1;
inline constexpr MQLONG MQMT_SYSTEM_LAST = 65535;

inline constexpr MQLONG MQOD_CURRENT_LENGTH = 424;
inline constexpr MQLONG MQOD_CURRENT_VERSION = 4;
inline constexpr MQLONG MQOD_LENGTH_1 = 168;
inline constexpr MQLONG MQOD_LENGTH_2 = 208;
inline constexpr MQLONG MQOD_LENGTH_3 = 344;
inline constexpr MQLONG MQOD_LENGTH_4 = 424;
inline constexpr char MQOD_STRUC_ID[] = "OD  ";
inline constexpr MQLONG MQOD_VERSION_1 = 1;
inline constexpr MQLONG MQOD_VERSION_2 = 2;
inline constexpr MQLONG MQOD_VERSION_3 = 3;
inline constexpr MQLONG MQOD_VERSION_4 = 4;

inline constexpr MQLONG MQOL_UNDEFINED = -1;

inline constexpr MQLONG MQOO_ALTERNATE_USER_AUTHORITY = 4096;
inline constexpr MQLONG MQOO_BIND_AS_Q_DEF = 0;
inline constexpr MQLONG MQOO_BIND_NOT_FIXED = 32768;
inline constexpr MQLONG MQOO_BIND_ON_GROUP = 4194304;
inline constexpr MQLONG MQOO_BIND_ON_OPEN = 16384;
inline constexpr MQLONG MQOO_BROWSE = 8;
inline constexpr MQLONG MQOO_CO_OP = 131072;
inline constexpr MQLONG MQOO_FAIL_IF_QUIESCING = 8192;
inline constexpr MQLONG MQOO_INPUT_AS_Q_DEF = 1;
inline constexpr MQLONG MQOO_INPUT_EXCLUSIVE = 4;
inline constexpr MQLONG MQOO_INPUT_SHARED = 2;
inline constexpr MQLONG MQOO_INQUIRE = 32;
inline constexpr MQLONG MQOO_NO_MULTICAST = 2097152;
inline constexpr MQLONG MQOO_NO_READ_AHEAD = 524288;
inline constexpr MQLONG MQOO_OUTPUT = 16;
inline constexpr MQLONG MQOO_PASS_ALL_CONTEXT = 512;
inline constexpr MQLONG MQOO_PASS_IDENTITY_CONTEXT = 256;
inline constexpr MQLONG MQOO_READ_AHEAD = 1048576;
inline constexpr MQLONG MQOO_READ_AHEAD_AS_Q_DEF = 0;
inline constexpr MQLONG MQOO_RESOLVE_LOCAL_Q = 262144;
inline constexpr MQLONG MQOO_RESOLVE_LOCAL_TOPIC = 262144;
inline constexpr MQLONG MQOO_RESOLVE_NAMES = 65536;
inline constexpr MQLONG MQOO_SAVE_ALL_CONTEXT = 128;
inline constexpr MQLONG MQOO_SET = 64;
inline constexpr MQLONG MQOO_SET_ALL_CONTEXT = 2048;
inline constexpr MQLONG MQOO_SET_IDENTITY_CONTEXT = 1024;

inline constexpr MQLONG MQOP_DEREGISTER = 512;
inline constexpr MQLONG MQOP_REGISTER = 256;
inline constexpr MQLONG MQOP_RESUME = 131072;
inline constexpr MQLONG MQOP_START = 1;
inline constexpr MQLONG MQOP_START_WAIT = 2;
inline constexpr MQLONG MQOP_STOP = 4;
inline constexpr MQLONG MQOP_SUSPEND = 65536;

inline constexpr MQLONG MQOT_ALIAS_Q = 1002;
inline constexpr MQLONG MQOT_ALL = 1001;
inline constexpr MQLONG MQOT_AMQP_CHANNEL = 1021;
inline constexpr MQLONG MQOT_AUTH_INFO = 7;
inline constexpr MQLONG MQOT_AUTH_REC = 1022;
inline constexpr MQLONG MQOT_CF_STRUC = 10;
inline constexpr MQLONG MQOT_CHANNEL = 6;
inline constexpr MQLONG MQOT_CHLAUTH = 1016;
inline constexpr MQLONG MQOT_CLNTCONN_CHANNEL = 1014;
inline constexpr MQLONG MQOT_COMM_INFO = 9;
inline constexpr MQLONG MQOT_CURRENT_CHANNEL = 1011;
inline constexpr MQLONG MQOT_LISTENER = 11;
inline constexpr MQLONG MQOT_LOCAL_Q = 1004;
inline constexpr MQLONG MQOT_MODEL_Q = 1003;
inline constexpr MQLONG MQOT_NAMELIST = 2;
inline constexpr MQLONG MQOT_NONE = 0;
inline constexpr MQLONG MQOT_PROCESS = 3;
inline constexpr MQLONG MQOT_PROT_POLICY = 1019;
inline constexpr MQLONG MQOT_Q = 1;
inline constexpr MQLONG MQOT_Q_MGR = 5;
inline constexpr MQLONG MQOT_RECEIVER_CHANNEL = 1010;
inline constexpr MQLONG MQOT_REMOTE_Q = 1005;
inline constexpr MQLONG MQOT_REMOTE_Q_MGR_NAME = 1017;
inline constexpr MQLONG MQOT_REQUESTER_CHANNEL = 1009;
inline constexpr MQLONG MQOT_RESERVED_1 = 999;
inline constexpr MQLONG MQOT_SAVED_CHANNEL = 1012;
inline constexpr MQLONG MQOT_SENDER_CHANNEL = 1007;
inline constexpr MQLONG MQOT_SERVER_CHANNEL = 1008;
inline constexpr MQLONG MQOT_SERVICE = 12;
inline constexpr MQLONG MQOT_SHORT_CHANNEL = 1015;
inline constexpr MQLONG MQOT_STORAGE_CLASS = 4;
inline constexpr MQLONG MQOT_SVRCONN_CHANNEL = 1013;
inline constexpr MQLONG MQOT_TOPIC = 8;
inline constexpr MQLONG MQOT_TT_CHANNEL = 1020;

inline constexpr MQLONG MQPER_NOT_PERSISTENT = 0;
inline constexpr MQLONG MQPER_PERSISTENCE_AS_PARENT = -1;
inline constexpr MQLONG MQPER_PERSISTENCE_AS_Q_DEF = 2;
inline constexpr MQLONG MQPER_PERSISTENCE_AS_TOPIC_DEF = 2;
inline constexpr MQLONG MQPER_PERSISTENT = 1;

inline constexpr MQLONG MQPL_AIX = 3;
inline constexpr MQLONG MQPL_APPLIANCE = 28;
inline constexpr MQLONG MQPL_MVS = 1;
inline constexpr MQLONG MQPL_NATIVE = 3;
inline constexpr MQLONG MQPL_NSK = 13;
inline constexpr MQLONG MQPL_NSS = 13;
inline constexpr MQLONG MQPL_OPEN_TP1 = 15;
inline constexpr MQLONG MQPL_OS2 = 2;
inline constexpr MQLONG MQPL_OS390 = 1;
inline constexpr MQLONG MQPL_OS400 = 4;
inline constexpr MQLONG MQPL_TPF = 23;
inline constexpr MQLONG MQPL_UNIX = 3;
inline constexpr MQLONG MQPL_VM = 18;
inline constexpr MQLONG MQPL_VMS = 12;
inline constexpr MQLONG MQPL_VSE = 27;
inline constexpr MQLONG MQPL_WINDOWS = 5;
inline constexpr MQLONG MQPL_WINDOWS_NT = 11;
inline constexpr MQLONG MQPL_ZOS = 1;

inline constexpr MQLONG MQPMO_ALTERNATE_USER_AUTHORITY = 4096;
inline constexpr MQLONG MQPMO_ASYNC_RESPONSE = 65536;
inline constexpr MQLONG MQPMO_CURRENT_LENGTH = 184;
inline constexpr MQLONG MQPMO_CURRENT_VERSION = 3;
inline constexpr MQLONG MQPMO_DEFAULT_CONTEXT = 32;
inline constexpr MQLONG MQPMO_FAIL_IF_QUIESCING = 8192;
inline constexpr MQLONG MQPMO_LENGTH_1 = 128;
inline constexpr MQLONG MQPMO_LENGTH_2 = 160;
inline constexpr MQLONG MQPMO_LENGTH_3 = 184;
inline constexpr MQLONG MQPMO_LOGICAL_ORDER = 32768;
inline constexpr MQLONG MQPMO_MD_FOR_OUTPUT_ONLY = 8388608;
inline constexpr MQLONG MQPMO_NEW_CORREL_ID = 128;
inline constexpr MQLONG MQPMO_NEW_MSG_ID = 64;
inline constexpr MQLONG MQPMO_NONE = 0;
inline constexpr MQLONG MQPMO_NOT_OWN_SUBS = 268435456;
inline constexpr MQLONG MQPMO_NO_CONTEXT = 16384;
inline constexpr MQLONG MQPMO_NO_SYNCPOINT = 4;
inline constexpr MQLONG MQPMO_PASS_ALL_CONTEXT = 512;
inline constexpr MQLONG MQPMO_PASS_IDENTITY_CONTEXT = 256;
inline constexpr MQLONG MQPMO_PUB_OPTIONS_MASK = 2097152;
inline constexpr MQLONG MQPMO_RESOLVE_LOCAL_Q = 262144;
inline constexpr MQLONG MQPMO_RESPONSE_AS_Q_DEF = 0;
inline constexpr MQLONG MQPMO_RESPONSE_AS_TOPIC_DEF = 0;
inline constexpr MQLONG MQPMO_RETAIN = 2097152;
inline constexpr MQLONG MQPMO_SCOPE_QMGR = 67108864;
inline constexpr MQLONG MQPMO_SET_ALL_CONTEXT = 2048;
inline constexpr MQLONG MQPMO_SET_IDENTITY_CONTEXT = 1024;
inline constexpr char MQPMO_STRUC_ID[] = "PMO ";
inline constexpr MQLONG MQPMO_SUPPRESS_REPLYTO = 134217728;
inline constexpr MQLONG MQPMO_SYNCPOINT = 2;
inline constexpr MQLONG MQPMO_SYNC_RESPONSE = 131072;
inline constexpr MQLONG MQPMO_VERSION_1 = 1;
inline constexpr MQLONG MQPMO_VERSION_2 = 2;
inline constexpr MQLONG MQPMO_VERSION_3 = 3;
inline constexpr MQLONG MQPMO_WARN_IF_NO_SUBS_MATCHED = 524288;

inline constexpr MQLONG MQPRI_PRIORITY_AS_PARENT = -2;
inline constexpr MQLONG MQPRI_PRIORITY_AS_PUBLISHED = -3;
inline constexpr MQLONG MQPRI_PRIORITY_AS_Q_DEF = -1;
inline constexpr MQLONG MQPRI_PRIORITY_AS_TOPIC_DEF = -1;

inline constexpr MQLONG MQQA_BACKOUT_HARDENED = 1;
inline constexpr MQLONG MQQA_BACKOUT_NOT_HARDENED = 0;
inline constexpr MQLONG MQQA_GET_ALLOWED = 0;
inline constexpr MQLONG MQQA_GET_INHIBITED = 1;
inline constexpr MQLONG MQQA_NOT_SHAREABLE = 0;
inline constexpr MQLONG MQQA_PUT_ALLOWED = 0;
inline constexpr MQLONG MQQA_PUT_INHIBITED = 1;
inline constexpr MQLONG MQQA_SHAREABLE = 1;

inline constexpr MQLONG MQQDT_PERMANENT_DYNAMIC = 2;
inline constexpr MQLONG MQQDT_PREDEFINED = 1;
inline constexpr MQLONG MQQDT_SHARED_DYNAMIC = 4;
inline constexpr MQLONG MQQDT_TEMPORARY_DYNAMIC = 3;

inline constexpr MQLONG MQQT_ALIAS = 3;
inline constexpr MQLONG MQQT_ALL = 1001;
inline constexpr MQLONG MQQT_CLUSTER = 7;
inline constexpr MQLONG MQQT_LOCAL = 1;
inline constexpr MQLONG MQQT_MODEL = 2;
inline constexpr MQLONG MQQT_REMOTE = 6;

inline constexpr MQLONG MQRFH_CURRENT_LENGTH = 32;
inline constexpr MQLONG MQRFH_FLAGS_RESTRICTED_MASK = -65536;
inline constexpr MQLONG MQRFH_LENGTH_1 = 32;
inline constexpr MQLONG MQRFH_NONE = 0;
inline constexpr MQLONG MQRFH_NO_FLAGS = 0;
inline constexpr char MQRFH_STRUC_ID[] = "RFH ";
inline constexpr MQLONG MQRFH_STRUC_LENGTH_FIXED = 32;
inline constexpr MQLONG MQRFH_STRUC_LENGTH_FIXED_2 = 36;
inline constexpr MQLONG MQRFH_VERSION_1 = 1;
inline constexpr MQLONG MQRFH_VERSION_2 = 2;

inline constexpr MQLONG MQRO_ACCEPT_UNSUP_IF_XMIT_MASK = 261888;
inline constexpr MQLONG MQRO_ACCEPT_UNSUP_MASK = -270532353;
inline constexpr MQLONG MQRO_ACTIVITY = 4;
inline constexpr MQLONG MQRO_COA = 256;
inline constexpr MQLONG MQRO_COA_WITH_DATA = 768;
inline constexpr MQLONG MQRO_COA_WITH_FULL_DATA = 1792;
inline constexpr MQLONG MQRO_COD = 2048;
inline constexpr MQLONG MQRO_COD_WITH_DATA = 6144;
inline constexpr MQLONG MQRO_COD_WITH_FULL_DATA = 14336;
inline constexpr MQLONG MQRO_COPY_MSG_ID_TO_CORREL_ID = 0;
inline constexpr MQLONG MQRO_DEAD_LETTER_Q = 0;
inline constexpr MQLONG MQRO_DISCARD_MSG = 134217728;
inline constexpr MQLONG MQRO_EXCEPTION = 16777216;
inline constexpr MQLONG MQRO_EXCEPTION_WITH_DATA = 50331648;
inline constexpr MQLONG MQRO_EXCEPTION_WITH_FULL_DATA = 117440512;
inline constexpr MQLONG MQRO_EXPIRATION = 2097152;
inline constexpr MQLONG MQRO_EXPIRATION_WITH_DATA = 6291456;
inline constexpr MQLONG MQRO_EXPIRATION_WITH_FULL_DATA = 14680064;
inline constexpr MQLONG MQRO_NAN = 2;
inline constexpr MQLONG MQRO_NEW_MSG_ID = 0;
inline constexpr MQLONG MQRO_NONE = 0;
inline constexpr MQLONG MQRO_PAN = 1;
inline constexpr MQLONG MQRO_PASS_CORREL_ID = 64;
inline constexpr MQLONG MQRO_PASS_DISCARD_AND_EXPIRY = 16384;
inline constexpr MQLONG MQRO_PASS_MSG_ID = 128;
inline constexpr MQLONG MQRO_REJECT_UNSUP_MASK = 270270464;

inline constexpr MQLONG MQSTAT_TYPE_ASYNC_ERROR = 0;
inline constexpr MQLONG MQSTAT_TYPE_RECONNECTION = 1;
inline constexpr MQLONG MQSTAT_TYPE_RECONNECTION_ERROR = 2;

inline constexpr MQLONG MQSTS_LENGTH_1 = 224;
inline constexpr char MQSTS_STRUC_ID[] = "STAT";
inline constexpr MQLONG MQSTS_VERSION_1 = 1;
inline constexpr MQLONG MQSTS_VERSION_2 = 2;

inline constexpr MQLONG MQVS_NULL_TERMINATED = -1;

inline constexpr MQLONG MQWI_UNLIMITED = -1;

inline constexpr MQLONG MQXQH_CURRENT_LENGTH = 428;
inline constexpr MQLONG MQXQH_CURRENT_VERSION = 1;
inline constexpr MQLONG MQXQH_LENGTH_1 = 428;
inline constexpr char MQXQH_STRUC_ID[] = "XQH ";
inline constexpr MQLONG MQXQH_VERSION_1 = 1;
