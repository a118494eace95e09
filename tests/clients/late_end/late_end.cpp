#include "late_end.h"

#include "utl/utl_initialize.h"

namespace {

class Client {
 public:
  ~Client() {
    if (count_ > 0) {
      utl_finalize(count_);
    }
  }
  void Begin() { utl_initialize(count_); }

 private:
  int count_ = 0;
};

Client client;

}  // namespace

void late_end_begin() {
  client.Begin();
}
