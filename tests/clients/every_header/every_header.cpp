// A client of every public header, compiled without optimisation and inlining: whatever
// the headers leave to the library must be in it, and what they do not must be in here.

#include "every_header.h"

#include <cstdio>
#include <cstring>
#include <memory>

namespace {

int failures = 0;

#define CHECK(condition)                                  \
  do {                                                    \
    if (!(condition)) {                                   \
      std::printf("line %d: %s\n", __LINE__, #condition); \
      ++failures;                                         \
    }                                                     \
  } while (false)

// Asks for the addresses of functions, so that no compiler does without them.
template <class... Function>
void TakeAddresses(Function... functions) {
  volatile bool known = (... && (functions != nullptr));
  CHECK(known);
}

template <class K, class V>
void UseTree(K one, K two, V value) {
  using Node = omi_BtreeNode<K, V>;
  using Tree = omi_Btree<K, V>;
  using Iterator = omi_BtreeIterator<K, V>;
  TakeAddresses(&Node::Key, &Node::Value, &Node::Left, &Node::Right, &Node::Height,
                &Node::Insert, &Node::Remove, &Node::Find);
  TakeAddresses(&Tree::Insert, &Tree::Remove, &Tree::Find, &Tree::GetNullValue,
                &Tree::Size, &Tree::IsEmpty, &Tree::Root);
  TakeAddresses(&Iterator::First, &Iterator::Last, &Iterator::Next, &Iterator::Prev,
                &Iterator::AtEnd, &Iterator::Key, &Iterator::Value);

  Tree tree;
  CHECK(tree.IsEmpty());
  CHECK(tree.Insert(two, value) && tree.Insert(one, value));
  Tree copy(tree);
  copy.Remove(two);
  Tree assigned;
  assigned = copy;
  CHECK(assigned.Size() == 1 && assigned.Find(two) == assigned.GetNullValue());
  CHECK(tree.Root()->Key() == two && tree.Root()->Left()->Key() == one);
  CHECK(tree.Root()->Right() == nullptr && tree.Root()->Height() == 1);
  Iterator i(tree);
  i.First();
  CHECK(!i.AtEnd() && i.Key() == one && i.Value() == value);
  i.Last();
  i.Prev();
  i.Next();
  CHECK(i.Key() == two);
  int entries = 0;
  for (const auto& [key, found] : tree) {
    entries += found == value && (key == one || key == two) ? 1 : 0;
  }
  CHECK(entries == 2 && tree.begin() == tree.begin() && ++tree.begin() != tree.begin()++);
  Node node(one, value);
  CHECK(node.Insert(two, value) && node.Find(two)->Value() == value);
}

// A container of the library's own class and one of the client's.
template <class T>
void UseContainers(T element) {
  using List = cow_List<T>;
  using Array = cow_1DArray<T>;
  TakeAddresses(&List::Prepend, &List::Append);
  TakeAddresses(&List::Length, &List::IsEmpty, &List::begin, &List::end);
  TakeAddresses(&Array::Append, &Array::Reserve, &Array::Length, &Array::IsEmpty);
  TakeAddresses(static_cast<T& (Array::*)(int)>(&Array::operator[]),
                static_cast<const T& (Array::*)(int) const>(&Array::operator[]));
  List list;
  list.Prepend(element);
  list.Append(element);
  const List sameList = list;
  CHECK(sameList.Length() == 2 && sameList.begin() != sameList.end());
  Array array;
  array.Reserve(2);
  array.Append(element);
  const Array sameArray = array;
  array[0] = element;
  CHECK(&sameArray[0] != &array[0] && !array.IsEmpty());
  try {
    static_cast<void>(sameArray[1]);
    CHECK(false);
  } catch (const nex_AssertException& caught) {
    CHECK(caught.SourceLine() > 0);
  }
}

template <template <class> class Singleton, class T>
void UseSingleton() {
  TakeAddresses(&Singleton<T>::Instance, &Singleton<T>::Look);
  CHECK(&Singleton<T>::Instance() == Singleton<T>::Look());
}

void UseSingletons() {
  UseSingleton<omi_Singleton, utl_Version>();
  UseSingleton<omi_Singleton, utl_ResourceMonitor>();
  UseSingleton<thr_GlobalSingleton, utl_CommandLine>();
  UseSingleton<thr_GlobalSingleton, utl_IOTracker_Container>();
  UseSingleton<thr_GlobalSingleton, thr_ThreadPool>();
  UseSingleton<thr_ThreadSingleton, rgx_ReCompileCache>();
  TakeAddresses(&omi_Singleton<utl_Version>::Finalize,
                &thr_GlobalSingleton<utl_CommandLine>::Destroy,
                &thr_ThreadSingleton<rgx_ReCompileCache>::Destroy);
  TakeAddresses(&thr_GlobalSingleton<utl_CommandLine>::Mutex,
                &thr_GlobalSingleton<utl_IOTracker_Container>::Mutex,
                &thr_GlobalSingleton<thr_ThreadPool>::Mutex);
  omi_SingletonBase<utl_ResourceMonitor>::Finalize();
}

class ClientException : public nex_TextException {
 public:
  using nex_TextException::nex_TextException;
  [[noreturn]] void Propagate() const override { throw *this; }
};

class ClientTask : public thr_Task {
 public:
  explicit ClientTask(std::atomic<bool>& ran) : ran_(ran) {}
  void Run() override { ran_ = true; }

 private:
  std::atomic<bool>& ran_;
};

void UseSupport() {
  void* const block = mem_Realloc(mem_Malloc(1), 2);
  CHECK(block != nullptr);
  mem_Free(block);
  CHECK(typ_DebugFlags::Level("every_header") == 0);
  const std::lock_guard<thr_Mutex> guard(thr_GlobalLock::Instance());
  CHECK(!thr_threadsAreGone());
  pnt_StartDebug();
  pnt_EndDebug();

  omi_BlkBitVect mask;
  mask.Set(40);
  CHECK(mask.Count() == 1 && omi_BlkBitVectTrav(mask).Last() == 40);
  const cow_List<cow_String> maskText = utl_BlkBitUtils::GetMaskString(mask);
  utl_BlkBitUtils::GetMaskFromString(maskText, mask);
  CHECK(maskText.begin()->Length() > 0);
  omi_Timer timer;
  timer.Start();
  timer.Stop();
  CHECK(timer.Elapsed() >= 0);
  CHECK(omi_SystemErrorCode(omi_SystemErrorCode::kSystem, 2).Code() == 2);
  CHECK(omi_strtoSizeT("42") == 42);

  CHECK(strnatcmp("a9", "a10") < 0 && !atr_getNaturalOrder());
  cow_Map<cow_String, int> map;
  map.Insert("key", 1);
  CHECK(map.IsMember("key") && *map.Find("key") == 1);
  map.Remove("key");
  CHECK(map.begin() == map.end());
  cow_String text = "b";
  text = "a" + text + 'c' + std::string_view("d") + cow_String("e") + "f";
  CHECK(text == "abcdef" && text < cow_String("b") && std::hash<cow_String>()(text) != 0);

  atr_translate message("%1$s");
  atr_SubstituteFormat(message, 1, text);
  try {
    ClientException(message.Result()).Throw("every_header");
  } catch (const nex_Exception& caught) {
    const std::unique_ptr<nex_Exception> copy(caught.Copy());
    CHECK(copy->AsString() == caught.UserReport());
  }
  const nex_SystemErrorException systemError{omi_SystemErrorCode()};
  CHECK(systemError.ErrorCode().Kind() == omi_SystemErrorCode::kRunTime);

  aio_ostrstream out;
  utl_Stream stream(out, 80, 6, 15);
  {
    const utl_StreamSmallReal small(stream, 1e-20);
    stream << "x" << 1 << 2u << 1.5f << 1e-30 << text << endl;
  }
  CHECK(out.good() && out.is_open() && out.length() > 0);
  CHECK(!aio_ofstream("").good());
}

void UsePaths() {
  CHECK(rgx_match("(b+)", "abbc").NthString(1) == "bb");
  CHECK(rgx_join(rgx_split(",", "a,b"), "-") == rgx_subn(",", "-", "a,b", 1));
  CHECK(utl_UrlParser::IsUrl("kstrdb:"));
  CHECK(utl_FilePathParser::Drive("C:x") == 'c');
  CHECK(utl_DirPathUtils::AddSeparator("a") == "a\\");
  const utl_FilePath here("", "");
  CHECK(utl_DirObject(here).DirCount() > 0);
  CHECK(here.BaseName().IsEmpty() && here.Extension().IsEmpty());
  CHECK(utl_DiskAttributes(here.AbsoluteDirectoryPath()).GetFreeDiskSpace() > 0);
  CHECK(utl_PathFinder::getPath("", "", false, false, false).IsEmpty());
  CHECK(!utl_JobFileName(".use").IsEmpty());
  CHECK(!utl_getcwd().IsEmpty());
}

void UseFiles() {
  utl_TempFile file("every_header");
  CHECK(utl_TempFile("every_header").AvailableSpace() > 0);
  file.Create();
  file.Close();
  CHECK(utl_Stat(file.Name()).size == 0);
  {
    utl_MultisectionFile sections(file.Name(), utl_FileAccessWrite);
    sections.setSectionData("a", "b", 1);
    sections.saveChanges();
    CHECK(sections.hasSection("a"));
  }
  utl_File reader(file.Name(), utl_FileAccessRead, utl_FileShareDefault);
  reader.Seek(utl_FileOffset(1) += 1);
  CHECK(reader.Location() == 2 && reader.FileSize().DiffAsInt32(2) > 0);
  CHECK(utl_flock(-1, 5) == -1);
  CHECK(!utl_noInheritFile(-1));
  try {
    utl_BinIStream(-1, omi_Swapper::kLittleEndian).ReadInt();
    CHECK(false);
  } catch (const utl_BinStreamException&) {
  }
  utl_Catenator catenator;
  cow_String data = catenator.Cat("abc", 3).GetString();
  cow_String encoded = utl_base64Encode(data, false);
  CHECK(utl_base64Decode(encoded, true) == "abc");
  const unsigned int bit = 3;
  LongKey key;
  key.setBits(1, &bit);
  CHECK((key | LongKey()) == key && (key & LongKey()) < key && key.hasBit(3));
}

void UseProcess() {
  cow_1DArrayList<cow_String> arguments;
  for (const cow_String& argument : {cow_String("-job"), cow_String("every_header"),
                                     cow_String("-tmpdir"), utl_getcwd()}) {
    arguments.Append(argument);
  }
  utl_CommandLineLoader::SetArgsList(arguments);
  utl_CommandLine& line = thr_GlobalSingleton<utl_CommandLine>::Instance();
  CHECK(line.Size() == 4 && line.ConstGetValueAsInt("absent", 7) == 7);
  int status = 0;
  UTL_COMMANDLINEISMEMBER("absent  ", &status, 8);
  CHECK(status == 1);
  utl_Version& version = omi_Singleton<utl_Version>::Instance();
  version.SetProductName("every_header");
  CHECK(version.GenMaintRelease() && !version.Title(false).IsEmpty());
  CHECK(version.ProductName() == "every_header");
  utl_ResourceMonitor& monitor = omi_Singleton<utl_ResourceMonitor>::Instance();
  monitor.Mark("mark");
  monitor.StartTimer(1, "timer");
  monitor.StopTimer(1);
  CHECK(!monitor.IsEnabled());
  utl_IOTracker_Mark("mark");
  CHECK(thr_GlobalSingleton<utl_IOTracker_Container>::Instance().Tracker() == nullptr);
  std::atomic<bool> ran = false;
  thr_ThreadPool& pool = thr_GlobalSingleton<thr_ThreadPool>::Instance();
  pool.AddThreads(1, 1);
  pool.RunTask(std::make_unique<ClientTask>(ran));
  while (!ran) {
    utl_sleep(1);
  }
}

}  // namespace

int main() {
  int count = 0;
  utl_initialize(count);
  UseProcess();
  UseTree<int, int>(1, 2, 3);
  UseTree<cow_String, int>("one", "two", 3);
  UseTree<cow_String, void*>("one", "two", &count);
  UseContainers<utl_FilePath>(utl_FilePath("f", "Z:\\d"));
  UseContainers<int>(1);
  UseSupport();
  UsePaths();
  UseFiles();
  UseSingletons();
  utl_finalize(count);
  CHECK(count == 0);
  return failures == 0 ? 0 : 1;
}
