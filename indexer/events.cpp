#include <exception>

#include "indexer/zel3_indexer.h"

bool cZel3Indexer::Put_events_to_vector(QList<TEventListEntry>* list) const {
  if (list == nullptr || stores.Files().empty()) return false;
  list->clear();
  try {
    for (const sFile_Index_Store& store : stores.Files()) {
      for (const EVT_FILE_DATA_T& group : store.events) {
        for (const EVT_FILE_EVENT_T& event : group.events) {
          TEventListEntry entry;
          entry.time = ToArchiveTime(group.time);
          entry.eventType = event.eventType;
          entry.text = event.text;
          list->append(entry);
        }
      }
    }
  } catch (const std::exception&) {
    // What has been listed so far still serves.
  }
  return !list->isEmpty();
}
