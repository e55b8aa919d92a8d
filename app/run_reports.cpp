// SPDX-License-Identifier: Apache-2.0
#include "run_reports.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <string_view>
#include <vector>

#include <sys/socket.h>
#include <sys/uio.h>

namespace orca::app {

namespace {

int receiver = -1;

enum class Kind : char { Scene, Picture, PictureEnd, End, Crash };

/// Uses nothing but a system call.
void sendMessage(Kind kind, const void* bytes, std::size_t size) noexcept {
    if (receiver < 0) return;
    iovec pieces[] = {{&kind, sizeof kind}, {const_cast<void*>(bytes), size}};
    msghdr message{};
    message.msg_iov = pieces;
    message.msg_iovlen = 2;
    while (::sendmsg(receiver, &message, MSG_NOSIGNAL) < 0 && errno == EINTR) continue;
}

template <class T>
T recordIn(std::string_view bytes) {
    T record{};
    if (bytes.size() == sizeof record) std::memcpy(&record, bytes.data(), sizeof record);
    return record;
}

/// Texts, each with a zero byte behind it, after the two numbers.
struct PictureNumbers {
    int frame;
    bool isLast;
};

std::string written(const PictureBegins& picture) {
    const PictureNumbers numbers{picture.files.frame, picture.isLast};
    std::string bytes(reinterpret_cast<const char*>(&numbers), sizeof numbers);
    const PictureFiles& files = picture.files;
    for (const std::string* text :
         {&files.layered, &files.deep, &files.png, &files.layerDirectory, &files.checkpoint})
        bytes.append(text->c_str(), text->size() + 1);
    for (const std::string& text : files.sceneFiles) bytes.append(text.c_str(), text.size() + 1);
    return bytes;
}

PictureBegins readPicture(std::string_view bytes) {
    const auto numbers = recordIn<PictureNumbers>(bytes.substr(0, sizeof(PictureNumbers)));
    bytes.remove_prefix(std::min(bytes.size(), sizeof numbers));
    std::vector<std::string> texts;
    for (std::size_t end; (end = bytes.find('\0')) != std::string_view::npos; bytes.remove_prefix(end + 1))
        texts.emplace_back(bytes.substr(0, end));
    PictureBegins picture{{}, numbers.isLast};
    picture.files.frame = numbers.frame;
    if (texts.size() < 5) return picture;
    picture.files.layered = texts[0];
    picture.files.deep = texts[1];
    picture.files.png = texts[2];
    picture.files.layerDirectory = texts[3];
    picture.files.checkpoint = texts[4];
    picture.files.sceneFiles.assign(texts.begin() + 5, texts.end());
    return picture;
}

} // namespace

void sendReportsTo(int socket) {
    receiver = socket;
}

void send(const SceneBegins& report) {
    sendMessage(Kind::Scene, &report, sizeof report);
}
void send(const PictureBegins& report) {
    const std::string bytes = written(report);
    sendMessage(Kind::Picture, bytes.data(), bytes.size());
}
void send(const PictureEnds& report) {
    sendMessage(Kind::PictureEnd, &report, sizeof report);
}
void send(const ProcessEnds& report) {
    sendMessage(Kind::End, &report, sizeof report);
}
void send(const Crash& report) noexcept {
    sendMessage(Kind::Crash, &report, sizeof report);
}

bool receive(int socket, Report& report) {
    std::array<char, 1> none{};
    ssize_t size;
    // The length first: a picture may have any number of files.
    do size = ::recv(socket, none.data(), none.size(), MSG_PEEK | MSG_TRUNC | MSG_DONTWAIT);
    while (size < 0 && errno == EINTR);
    if (size <= 0) return false;
    std::string bytes(static_cast<std::size_t>(size), '\0');
    if (::recv(socket, bytes.data(), bytes.size(), MSG_DONTWAIT) != size) return false;
    const std::string_view content = std::string_view(bytes).substr(1);
    switch (static_cast<Kind>(bytes.front())) {
    case Kind::Scene: report = recordIn<SceneBegins>(content); break;
    case Kind::Picture: report = readPicture(content); break;
    case Kind::PictureEnd: report = recordIn<PictureEnds>(content); break;
    case Kind::End: report = recordIn<ProcessEnds>(content); break;
    case Kind::Crash: report = recordIn<Crash>(content); break;
    }
    return true;
}

} // namespace orca::app
