#include "chart/answer_receiver.h"

#include <utility>

CAnswerReceiver::CAnswerReceiver(CHistoryResponseParser& parser, Post post,
                                 std::function<void()> onWake)
    : m_post(std::move(post)), m_onWake(std::move(onWake)), m_worker(parser, [this] {
          if (!m_wakePosted.exchange(true)) {
              m_post([this] {
                  m_wakePosted = false;
                  m_onWake();
              });
          }
      }) {}
