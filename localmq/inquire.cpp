#include <algorithm>
#include <array>
#include <cstring>

#include "localmq/calls.h"
#include "localmq/schema.h"

namespace localmq {
namespace {

// What a selector is an attribute of.
enum Subject : unsigned {
  kQueueManager = 1,
  kLocal = 2,
  kAlias = 4,
  kRemote = 8,
  kAnyQueue = kLocal | kAlias | kRemote
};

// Everything that an inquiry may need, read once.
struct Figures {
  QueueManagerAttributes Manager;
  QueueAttributes Queue;
  QueueStatus Status;
};

struct IntegerAttribute {
  MQLONG Selector;
  unsigned Subjects;
  MQLONG (*Value)(const Figures&);
};

struct TextAttribute {
  MQLONG Selector;
  unsigned Subjects;
  std::size_t Length;
  const std::string& (*Value)(const Figures&);
};

constexpr IntegerAttribute kIntegers[] = {
    {MQIA_CODED_CHAR_SET_ID, kQueueManager, [](const Figures& f) { return f.Manager.CodedCharSetId; }},
    {MQIA_COMMAND_LEVEL, kQueueManager, [](const Figures& f) { return f.Manager.CommandLevel; }},
    {MQIA_PLATFORM, kQueueManager, [](const Figures& f) { return f.Manager.Platform; }},
    {MQIA_MAX_PRIORITY, kQueueManager, [](const Figures&) { return kMaxPriority; }},
    {MQIA_MAX_UNCOMMITTED_MSGS, kQueueManager, [](const Figures& f) { return f.Manager.MaxUncommittedMsgs; }},
    {MQIA_SYNCPOINT, kQueueManager, [](const Figures&) { return MQLONG{1}; }},
    {MQIA_DIST_LISTS, kQueueManager | kLocal, [](const Figures&) { return MQLONG{1}; }},
    {MQIA_MAX_MSG_LENGTH, kQueueManager, [](const Figures& f) { return f.Manager.MaxMsgLength; }},
    {MQIA_MAX_MSG_LENGTH, kLocal, [](const Figures& f) { return f.Queue.MaxMsgLength; }},
    {MQIA_Q_TYPE, kAnyQueue, [](const Figures& f) { return f.Queue.Type; }},
    {MQIA_INHIBIT_PUT, kAnyQueue, [](const Figures& f) { return f.Queue.InhibitPut; }},
    {MQIA_INHIBIT_GET, kLocal | kAlias, [](const Figures& f) { return f.Queue.InhibitGet; }},
    {MQIA_DEF_PRIORITY, kAnyQueue, [](const Figures& f) { return f.Queue.DefPriority; }},
    {MQIA_DEF_PERSISTENCE, kAnyQueue, [](const Figures& f) { return f.Queue.DefPersistence; }},
    {MQIA_CURRENT_Q_DEPTH, kLocal, [](const Figures& f) { return f.Status.Depth; }},
    {MQIA_OPEN_INPUT_COUNT, kLocal, [](const Figures& f) { return f.Status.OpenInputCount; }},
    {MQIA_OPEN_OUTPUT_COUNT, kLocal, [](const Figures& f) { return f.Status.OpenOutputCount; }},
    {MQIA_MAX_Q_DEPTH, kLocal, [](const Figures& f) { return f.Queue.MaxDepth; }},
    {MQIA_BACKOUT_THRESHOLD, kLocal, [](const Figures& f) { return f.Queue.BackoutThreshold; }},
    {MQIA_SHAREABILITY, kLocal, [](const Figures& f) { return f.Queue.Shareability; }},
    {MQIA_DEFINITION_TYPE, kLocal, [](const Figures& f) { return f.Queue.DefinitionType; }},
    {MQIA_USAGE, kLocal, [](const Figures& f) { return f.Queue.Usage; }},
    {MQIA_MSG_DELIVERY_SEQUENCE, kLocal, [](const Figures&) { return MQLONG{0}; }},  // by priority
};

using ConstText = const std::string&;
constexpr TextAttribute kTexts[] = {
    {MQCA_Q_MGR_NAME, kQueueManager, 48, [](const Figures& f) -> ConstText { return f.Manager.Name; }},
    {MQCA_DEAD_LETTER_Q_NAME, kQueueManager, 48,
     [](const Figures& f) -> ConstText { return f.Manager.DeadLetterQName; }},
    {MQCA_COMMAND_INPUT_Q_NAME, kQueueManager, 48,
     [](const Figures& f) -> ConstText { return f.Manager.CommandInputQName; }},
    {MQCA_Q_NAME, kAnyQueue, 48, [](const Figures& f) -> ConstText { return f.Queue.Name; }},
    {MQCA_Q_DESC, kAnyQueue, 64, [](const Figures& f) -> ConstText { return f.Queue.Description; }},
    {MQCA_BACKOUT_REQ_Q_NAME, kLocal, 48, [](const Figures& f) -> ConstText { return f.Queue.BackoutRequeueName; }},
    {MQCA_BASE_Q_NAME, kAlias, 48, [](const Figures& f) -> ConstText { return f.Queue.BaseName; }},
    {MQCA_REMOTE_Q_NAME, kRemote, 48, [](const Figures& f) -> ConstText { return f.Queue.RemoteName; }},
    {MQCA_REMOTE_Q_MGR_NAME, kRemote, 48, [](const Figures& f) -> ConstText { return f.Queue.RemoteQMgrName; }},
    {MQCA_XMIT_Q_NAME, kRemote, 48, [](const Figures& f) -> ConstText { return f.Queue.XmitQName; }},
};

// The attribute for a selector: the one that the subject has, else one that only others of its kind have.
template <typename Attribute, std::size_t N>
const Attribute* FindAttribute(const Attribute (&attributes)[N], MQLONG selector, unsigned subject, bool& applies) {
  const Attribute* other = nullptr;
  for (const Attribute& attribute : attributes) {
    if (attribute.Selector != selector) continue;
    applies = (attribute.Subjects & subject) != 0;
    if (applies) return &attribute;
    // A queue manager and a queue have nothing to do with each other's attributes; queues of different types do.
    if (((attribute.Subjects & kAnyQueue) != 0) == ((subject & kAnyQueue) != 0)) other = &attribute;
  }
  return other;
}

unsigned SubjectOf(const OpenObject& object) {
  if (object.Kind == ObjectKind::kQueueManager) return kQueueManager;
  switch (object.Named.Attributes.Type) {
    case MQQT_ALIAS:
      return kAlias;
    case MQQT_REMOTE:
      return kRemote;
    default:
      return kLocal;
  }
}

MQLONG ReadFigures(Connection& connection, const OpenObject& object, bool status, Figures& figures) {
  Store& store = *connection.QueueManager;
  if (object.Kind == ObjectKind::kQueueManager) return store.ReadQueueManager(figures.Manager);
  Queue queue;
  const MQLONG reason = store.FindQueue(object.Named.Attributes.Name, queue);
  if (reason == MQRC_UNKNOWN_OBJECT_NAME) return MQRC_Q_DELETED;
  if (reason != MQRC_NONE) return reason;
  figures.Queue = queue.Attributes;
  if (!status || queue.Attributes.Type != MQQT_LOCAL) return MQRC_NONE;
  if (const MQLONG failure = BackOutDeadConnections(store); failure != MQRC_NONE) return failure;
  if (const MQLONG failure = store.ReadQueueStatus(queue.Attributes.Name, figures.Status); failure != MQRC_NONE)
    return failure;
  // The depth counts what this connection has put and not yet committed.
  figures.Status.Depth += static_cast<MQLONG>(connection.Unit.PutsTo(queue.Id));
  return MQRC_NONE;
}

bool NeedsStatus(std::span<const MQLONG> selectors) {
  return std::any_of(selectors.begin(), selectors.end(), [](MQLONG selector) {
    return selector == MQIA_CURRENT_Q_DEPTH || selector == MQIA_OPEN_INPUT_COUNT || selector == MQIA_OPEN_OUTPUT_COUNT;
  });
}

}  // namespace

Outcome Inquire(Connection& connection, MQHOBJ handle, std::span<const MQLONG> selectors, std::span<MQLONG> integers,
                std::span<MQCHAR> characters) {
  const OpenObject* object = connection.Find(handle);
  if (object == nullptr) return Failed(MQRC_HOBJ_ERROR);
  if ((object->Options & MQOO_INQUIRE) == 0) return Failed(MQRC_NOT_OPEN_FOR_INQUIRE);
  const unsigned subject = SubjectOf(*object);
  Figures figures;
  if (const MQLONG reason = ReadFigures(connection, *object, NeedsStatus(selectors), figures); reason != MQRC_NONE)
    return Failed(reason);

  std::size_t integersDone = 0;
  std::size_t charactersDone = 0;
  bool charactersShort = false;
  bool integersShort = false;
  bool notForType = false;
  for (const MQLONG selector : selectors) {
    bool applies = false;
    if (selector >= MQIA_FIRST && selector <= MQIA_LAST) {
      const IntegerAttribute* attribute = FindAttribute(kIntegers, selector, subject, applies);
      if (attribute == nullptr) return Failed(MQRC_SELECTOR_ERROR);
      notForType = notForType || !applies;
      if (integersDone == integers.size()) {
        integersShort = true;
      } else {
        integers[integersDone++] = applies ? attribute->Value(figures) : -1;
      }
      continue;
    }
    const TextAttribute* attribute = FindAttribute(kTexts, selector, subject, applies);
    if (attribute == nullptr) return Failed(MQRC_SELECTOR_ERROR);
    notForType = notForType || !applies;
    const std::size_t room = std::min(attribute->Length, characters.size() - charactersDone);
    charactersShort = charactersShort || room < attribute->Length;
    if (applies) {
      SetField(characters.data() + charactersDone, room, attribute->Value(figures));
    } else {
      std::fill_n(characters.begin() + static_cast<std::ptrdiff_t>(charactersDone), room, '*');
    }
    charactersDone += room;
  }
  if (notForType) return Warning(MQRC_SELECTOR_NOT_FOR_TYPE);
  if (integersShort) return Warning(MQRC_INT_ATTR_COUNT_TOO_SMALL);
  return charactersShort ? Warning(MQRC_CHAR_ATTRS_TOO_SHORT) : Done();
}

}  // namespace localmq
