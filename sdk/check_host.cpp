// Compares the headers of a host with what the plug-in is built with: sizes, offsets, places in
// virtual tables. Prints the differences and exits with 1; when there are none, prints one line and
// exits with 0. Headers that do not declare what the plug-in calls fail to compile. Calls nothing
// of the host.
//
//   g++ -std=c++17 -D_GLIBCXX_USE_CXX11_ABI=0 -I HEADERS check_host.cpp -o check_host
//   ./check_host
//
// With -m32 for the 32-bit plug-in.

#if __has_include(<sdk/brick.h>)
#include <sdk/brick.h>
#include <sdk/brick_config.h>
#include <sdk/brick_loader.h>
#include <sdk/critical_section.h>
#include <sdk/ini_file.h>
#include <sdk/mem_block.h>
#else
#include <brick.h>
#include <brick_config.h>
#include <brick_loader.h>
#include <critical_section.h>
#include <ini_file.h>
#include <mem_block.h>
#endif

#include <cstddef>
#include <cstdio>
#include <cstring>
#include <string>
#include <type_traits>

namespace {

constexpr std::size_t kPointer = sizeof(void*);
constexpr std::size_t Choose(std::size_t in32Bits, std::size_t in64Bits) {
  return kPointer == 4 ? in32Bits : in64Bits;
}

bool agrees = true;

void Compare(const std::string& what, const char* measure, std::size_t here, std::size_t plugin) {
  if (here == plugin) return;
  agrees = false;
  std::printf("%s: %s %zu, in the plug-in %zu\n", what.c_str(), measure, here, plugin);
}

template <class T>
void CompareSize(const char* type, std::size_t plugin) {
  Compare(type, "size", sizeof(T), plugin);
}

// A pointer to a data member is its offset; a pointer to a virtual function is its offset in the
// table plus 1.
template <class Member>
std::size_t ValueOf(Member member) {
  std::size_t value;
  std::memcpy(&value, &member, sizeof(value));
  return value;
}

template <class Class, class Field>
void CompareField(const char* name, Field Class::*field, std::size_t offset, std::size_t size) {
  Compare(name, "offset", ValueOf(field), offset);
  Compare(name, "size", sizeof(Field), size);
}

// The arguments of a function are part of the symbol by which the plug-in finds it; the result is
// not.
template <class... Arguments>
struct Takes {
  template <class Class, class Result>
  static void Slot(const char* name, Result (Class::*function)(Arguments...), std::size_t plugin) {
    Compare(name, "slot", (ValueOf(function) - 1) / kPointer, plugin);
  }
  template <class Class, class Result>
  static void ConstSlot(const char* name, Result (Class::*function)(Arguments...) const,
                        std::size_t plugin) {
    Compare(name, "slot", (ValueOf(function) - 1) / kPointer, plugin);
  }
};

// There are no pointers to destructors. They are called on an object that holds nothing but a
// table, whose functions note which of them was called.
std::size_t calledSlot;

template <std::size_t kSlot>
void NoteCall() {
  calledSlot = kSlot;
}

using Function = void (*)();
Function table[] = {NoteCall<0>,  NoteCall<1>,  NoteCall<2>,  NoteCall<3>,  NoteCall<4>,
                    NoteCall<5>,  NoteCall<6>,  NoteCall<7>,  NoteCall<8>,  NoteCall<9>,
                    NoteCall<10>, NoteCall<11>, NoteCall<12>, NoteCall<13>, NoteCall<14>,
                    NoteCall<15>, NoteCall<16>, NoteCall<17>, NoteCall<18>, NoteCall<19>,
                    NoteCall<20>, NoteCall<21>, NoteCall<22>, NoteCall<23>, NoteCall<24>,
                    NoteCall<25>, NoteCall<26>, NoteCall<27>, NoteCall<28>, NoteCall<29>};

template <class T>
void CompareDestructor(const std::string& type) {
  void* memory[sizeof(T) / kPointer + 1] = {table};
  T* object = reinterpret_cast<T*>(memory);
  asm volatile("" : "+r"(object) : : "memory");
  object->~T();
  Compare(type + ", destructor", "slot", calledSlot, 0);
  asm volatile("" : "+r"(object) : : "memory");
  delete object;
  Compare(type + ", deleting destructor", "slot", calledSlot, 1);
}

// Derived, so that protected members can be named.
struct Brick : CBrick {
  static void CompareAll() {
    CompareSize<CBrick>("CBrick", 2 * kPointer);
    CompareDestructor<CBrick>("CBrick");
    Takes<>::Slot("CBrick::DoCtrl", &Brick::DoCtrl, 2);
    Takes<>::Slot("CBrick::DoData", &Brick::DoData, 3);
    Takes<CBrick*>::Slot("CBrick::ConnectAfter", &Brick::ConnectAfter, 4);
    Takes<CBrick*>::Slot("CBrick::ConnectOwned", &Brick::ConnectOwned, 5);
    Takes<CBrick*>::Slot("CBrick::DisconnectFrom", &Brick::DisconnectFrom, 6);
    Takes<>::Slot("CBrick::DisconnectFromAll", &Brick::DisconnectFromAll, 7);
    Takes<const TBrickConfig&>::Slot("CBrick::Create", &Brick::Create, 8);
    Takes<bool>::Slot("CBrick::SetStopped", &Brick::SetStopped, 9);
    Takes<>::Slot("CBrick::HasNextBrick", &Brick::HasNextBrick, 10);
    Takes<>::Slot("CBrick::HasPreviousBrick", &Brick::HasPreviousBrick, 11);
    Takes<>::Slot("CBrick::GetSignature", &Brick::GetSignature, 12);
    Takes<const TContentDescriptor&>::Slot("CBrick::IsKnownInput", &Brick::IsKnownInput, 13);
    Takes<const TContentDescriptor&>::Slot("CBrick::IsKnownOutput", &Brick::IsKnownOutput, 14);
    Takes<const cMemBlock&>::Slot("CBrick::enqueueControl", &Brick::enqueueControl, 15);
    Takes<const cMemBlock&>::Slot("CBrick::enqueueData", &Brick::enqueueData, 16);
    Takes<CBrick*>::Slot("CBrick::DisconnectOwned", &Brick::DisconnectOwned, 17);
    Takes<cMemBlock&>::Slot("CBrick::onCtrl", &Brick::onCtrl, 18);
    Takes<const cMemBlock&>::Slot("CBrick::onData", &Brick::onData, 19);
    Takes<const cMemBlock&>::Slot("CBrick::onNotify", &Brick::onNotify, 20);
    Takes<const TBrickConfig&>::Slot("CBrick::onCreate", &Brick::onCreate, 21);
    Takes<const cMemBlock&>::Slot("CBrick::SendData", &Brick::SendData, 22);
    Takes<const cMemBlock&>::Slot("CBrick::SendCmd", &Brick::SendCmd, 23);
  }
};

struct Block : cMemBlock {
  static void CompareAll() {
    CompareSize<cMemBlock>("cMemBlock", 2 * kPointer);
    CompareField("cMemBlock::mNode", &Block::mNode, kPointer, kPointer);
    CompareDestructor<cMemBlock>("cMemBlock");
    Takes<>::Slot("cMemBlock::GetData", &Block::GetData, 2);
    Takes<>::ConstSlot("cMemBlock::GetData const", &Block::GetData, 3);
    Takes<>::ConstSlot("cMemBlock::GetExtraSize", &Block::GetExtraSize, 4);
  }
};

struct Node : cMemBlock::node {
  static void CompareAll() {
    CompareSize<cMemBlock::node>("cMemBlock::node", Choose(40, 64));
    CompareField("cMemBlock::node::refCount", &Node::refCount, kPointer, 4);
    CompareField("cMemBlock::node::type", &Node::type, kPointer + 4, 4);
    CompareField("cMemBlock::node::size", &Node::size, kPointer + 8, 4);
    CompareField("cMemBlock::node::lock", &Node::lock, Choose(16, 24), Choose(24, 40));
    CompareDestructor<cMemBlock::node>("cMemBlock::node");
    Takes<>::Slot("cMemBlock::node::ref", &Node::ref, 2);
    Takes<>::Slot("cMemBlock::node::unref", &Node::unref, 3);
  }
};

void CompareConfig() {
  CompareSize<TContentDescriptor>("TContentDescriptor", 8);
  CompareField("TContentDescriptor::format", &TContentDescriptor::format, 0, 4);
  CompareField("TContentDescriptor::kind", &TContentDescriptor::kind, 4, 4);
  CompareSize<TBrickConfig>("TBrickConfig", 811);
  CompareField("TBrickConfig::ownerContext", &TBrickConfig::ownerContext, 0, 4);
  CompareField("TBrickConfig::signature", &TBrickConfig::signature, 4, 4);
  CompareField("TBrickConfig::input", &TBrickConfig::input, 8, 8);
  CompareField("TBrickConfig::output", &TBrickConfig::output, 16, 8);
  CompareField("TBrickConfig::param", &TBrickConfig::param, 24, 4);
  CompareField("TBrickConfig::name", &TBrickConfig::name, 28, 261);
  CompareField("TBrickConfig::sourcePath", &TBrickConfig::sourcePath, 289, 261);
  CompareField("TBrickConfig::cacheFolder", &TBrickConfig::cacheFolder, 550, 261);
}

// The functions that are not virtual. Their symbols include their arguments.
using Loader = CBrick* (*)(unsigned long, TBrickConfig&);
using Locking = void (CCriticalSection::*)();
using SwitchingOn = void (CIniFile::*)(bool);
using Getting = int (CIniFile::*)(const std::string&, int);

static_assert(sizeof(static_cast<Loader>(&CBrickLoader::CreateBrick)) != 0);
static_assert(sizeof(static_cast<Locking>(&CCriticalSection::Lock)) != 0);
static_assert(sizeof(static_cast<Locking>(&CCriticalSection::Unlock)) != 0);
static_assert(sizeof(static_cast<SwitchingOn>(&CIniFile::EnableDefValsCreation)) != 0);
static_assert(sizeof(static_cast<Getting>(&CIniFile::GetInt)) != 0);
static_assert(std::is_constructible_v<CIniFile, const std::string&>);
static_assert(std::is_constructible_v<CSingleLock, CCriticalSection&>);
static_assert(std::is_default_constructible_v<CCriticalSection>);
static_assert(std::is_default_constructible_v<cMemBlock>);
static_assert(std::is_copy_constructible_v<cMemBlock> && std::is_copy_assignable_v<cMemBlock>);

}  // namespace

int main() {
  CompareSize<std::string>("std::string", kPointer);
  CompareSize<CCriticalSection>("CCriticalSection", Choose(24, 40));
  CompareSize<CSingleLock>("CSingleLock", kPointer);
  CompareSize<CIniFile>("CIniFile", Choose(64, 128));
  // The plug-in aligns it like a pointer.
  if (alignof(CIniFile) > kPointer) Compare("CIniFile", "alignment", alignof(CIniFile), kPointer);
  Node::CompareAll();
  Block::CompareAll();
  Brick::CompareAll();
  CompareConfig();
  if (agrees) std::puts("The headers agree with the plug-in.");
  return agrees ? 0 : 1;
}
