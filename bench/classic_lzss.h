// A straightforward port of the classic public LZSS coder (binary tree, N 4096, F 18,
// threshold 2), reading and writing memory a byte at a time as the original reads and
// writes files. It is the baseline of lzss_bench and an independent oracle for the tests.
#pragma once
#include <cstddef>
#include <cstdint>
#include <vector>

namespace classic_lzss {

class Coder {
 public:
  static constexpr int N = 4096, F = 18, THRESHOLD = 2, NIL = N;

  std::vector<unsigned char> Encode(const unsigned char* data, std::size_t size) {
    Begin(data, size);
    int i, c, len, r, s, last_match_length, code_buf_ptr;
    unsigned char code_buf[17], mask;
    InitTree();
    code_buf[0] = 0;
    code_buf_ptr = mask = 1;
    s = 0;
    r = N - F;
    for (i = s; i < r; i++) text_buf[i] = ' ';
    for (len = 0; len < F && (c = GetC()) != -1; len++) text_buf[r + len] = static_cast<unsigned char>(c);
    if (len == 0) return std::move(out_);
    for (i = 1; i <= F; i++) InsertNode(r - i);
    InsertNode(r);
    do {
      if (match_length > len) match_length = len;
      if (match_length <= THRESHOLD) {
        match_length = 1;
        code_buf[0] |= mask;
        code_buf[code_buf_ptr++] = text_buf[r];
      } else {
        code_buf[code_buf_ptr++] = static_cast<unsigned char>(match_position);
        code_buf[code_buf_ptr++] =
            static_cast<unsigned char>(((match_position >> 4) & 0xf0) | (match_length - (THRESHOLD + 1)));
      }
      if ((mask <<= 1) == 0) {
        for (i = 0; i < code_buf_ptr; i++) PutC(code_buf[i]);
        code_buf[0] = 0;
        code_buf_ptr = mask = 1;
      }
      last_match_length = match_length;
      for (i = 0; i < last_match_length && (c = GetC()) != -1; i++) {
        DeleteNode(s);
        text_buf[s] = static_cast<unsigned char>(c);
        if (s < F - 1) text_buf[s + N] = static_cast<unsigned char>(c);
        s = (s + 1) & (N - 1);
        r = (r + 1) & (N - 1);
        InsertNode(r);
      }
      while (i++ < last_match_length) {
        DeleteNode(s);
        s = (s + 1) & (N - 1);
        r = (r + 1) & (N - 1);
        if (--len) InsertNode(r);
      }
    } while (len > 0);
    if (code_buf_ptr > 1)
      for (i = 0; i < code_buf_ptr; i++) PutC(code_buf[i]);
    return std::move(out_);
  }

  std::vector<unsigned char> Decode(const unsigned char* data, std::size_t size) {
    Begin(data, size);
    int i, j, k, r, c;
    unsigned int flags;
    for (i = 0; i < N - F; i++) text_buf[i] = ' ';
    r = N - F;
    flags = 0;
    for (;;) {
      if (((flags >>= 1) & 256) == 0) {
        if ((c = GetC()) == -1) break;
        flags = static_cast<unsigned>(c) | 0xff00;
      }
      if (flags & 1) {
        if ((c = GetC()) == -1) break;
        PutC(c);
        text_buf[r++] = static_cast<unsigned char>(c);
        r &= (N - 1);
      } else {
        if ((i = GetC()) == -1) break;
        if ((j = GetC()) == -1) break;
        i |= ((j & 0xf0) << 4);
        j = (j & 0x0f) + THRESHOLD;
        for (k = 0; k <= j; k++) {
          c = text_buf[(i + k) & (N - 1)];
          PutC(c);
          text_buf[r++] = static_cast<unsigned char>(c);
          r &= (N - 1);
        }
      }
    }
    return std::move(out_);
  }

 private:
  void Begin(const unsigned char* data, std::size_t size) {
    in_ = data;
    in_end_ = data + size;
    out_.clear();
    for (auto& b : text_buf) b = 0;
  }
  int GetC() { return in_ == in_end_ ? -1 : *in_++; }
  void PutC(int c) { out_.push_back(static_cast<unsigned char>(c)); }

  void InitTree() {
    for (int i = N + 1; i <= N + 256; i++) rson[i] = NIL;
    for (int i = 0; i < N; i++) dad[i] = NIL;
  }

  void InsertNode(int r) {
    int i, p, cmp = 1;
    unsigned char* key = &text_buf[r];
    p = N + 1 + key[0];
    rson[r] = lson[r] = NIL;
    match_length = 0;
    for (;;) {
      if (cmp >= 0) {
        if (rson[p] != NIL) {
          p = rson[p];
        } else {
          rson[p] = r;
          dad[r] = p;
          return;
        }
      } else {
        if (lson[p] != NIL) {
          p = lson[p];
        } else {
          lson[p] = r;
          dad[r] = p;
          return;
        }
      }
      for (i = 1; i < F; i++)
        if ((cmp = key[i] - text_buf[p + i]) != 0) break;
      if (i > match_length) {
        match_position = p;
        if ((match_length = i) >= F) break;
      }
    }
    dad[r] = dad[p];
    lson[r] = lson[p];
    rson[r] = rson[p];
    dad[lson[p]] = r;
    dad[rson[p]] = r;
    if (rson[dad[p]] == p)
      rson[dad[p]] = r;
    else
      lson[dad[p]] = r;
    dad[p] = NIL;
  }

  void DeleteNode(int p) {
    int q;
    if (dad[p] == NIL) return;
    if (rson[p] == NIL)
      q = lson[p];
    else if (lson[p] == NIL)
      q = rson[p];
    else {
      q = lson[p];
      if (rson[q] != NIL) {
        do {
          q = rson[q];
        } while (rson[q] != NIL);
        rson[dad[q]] = lson[q];
        dad[lson[q]] = dad[q];
        lson[q] = lson[p];
        dad[lson[p]] = q;
      }
      rson[q] = rson[p];
      dad[rson[p]] = q;
    }
    dad[q] = dad[p];
    if (rson[dad[p]] == p)
      rson[dad[p]] = q;
    else
      lson[dad[p]] = q;
    dad[p] = NIL;
  }

  unsigned char text_buf[N + F - 1] = {};
  int match_position = 0, match_length = 0;
  int lson[N + 1] = {}, rson[N + 257] = {}, dad[N + 1] = {};
  const unsigned char* in_ = nullptr;
  const unsigned char* in_end_ = nullptr;
  std::vector<unsigned char> out_;
};

}  // namespace classic_lzss
