// Row types for the tests. `Columns` visits the columns in order.
#pragma once

#include <string>

#include "models/FieldsMap.h"

using RaidDataModels::null_double;
using RaidDataModels::null_int;
using RaidDataModels::null_text;
using RaidDataModels::null_ulong;
using RaidDataModels::string_list;

struct Item {
  int id = null_int;
  std::string name = null_text;

  template <class Visit>
  static void Columns(Visit visit) {
    visit("ID", &Item::id);
    visit("Name", &Item::name);
  }
};

struct OnlyKey {
  int id = null_int;

  template <class Visit>
  static void Columns(Visit visit) {
    visit("ID", &OnlyKey::id);
  }
};

struct Place {
  int number = null_int;
  std::string host = null_text;
  std::string name = null_text;
  unsigned long size = null_ulong;
  string_list tags;

  template <class Visit>
  static void Columns(Visit visit) {
    visit("Number", &Place::number);
    visit("Host", &Place::host);
    visit("Name", &Place::name);
    visit("Size", &Place::size);
    visit("Tags", &Place::tags);
  }
};

// Every type twice, in mixed order. The order of the members differs from that of the columns.
struct Everything {
  double load = null_double;
  double ratio = null_double;
  string_list marks;
  string_list tags;
  std::string label = null_text;
  std::string owner = null_text;
  unsigned long size = null_ulong;
  unsigned long used = null_ulong;
  int count = null_int;
  int id = null_int;

  template <class Visit>
  static void Columns(Visit visit) {
    visit("ID", &Everything::id);
    visit("Owner", &Everything::owner);
    visit("Tags", &Everything::tags);
    visit("Size", &Everything::size);
    visit("Ratio", &Everything::ratio);
    visit("Count", &Everything::count);
    visit("Used", &Everything::used);
    visit("Marks", &Everything::marks);
    visit("Load", &Everything::load);
    visit("Label", &Everything::label);
  }
};

// The key is last, because it is an unsigned long.
struct WideKey {
  std::string name = null_text;
  int count = null_int;
  unsigned long key = null_ulong;

  template <class Visit>
  static void Columns(Visit visit) {
    visit("Name", &WideKey::name);
    visit("Count", &WideKey::count);
    visit("ID", &WideKey::key);
  }
};

// Both kinds of key: an int in the first column and an unsigned long in the last.
struct TwoKeys {
  int id = null_int;
  std::string name = null_text;
  unsigned long wide = null_ulong;

  template <class Visit>
  static void Columns(Visit visit) {
    visit("ID", &TwoKeys::id);
    visit("Name", &TwoKeys::name);
    visit("Wide", &TwoKeys::wide);
  }
};

struct LeadingUlong {
  unsigned long id = null_ulong;
  std::string name = null_text;

  template <class Visit>
  static void Columns(Visit visit) {
    visit("ID", &LeadingUlong::id);
    visit("Name", &LeadingUlong::name);
  }
};
