// SPDX-License-Identifier: MIT
#include <arv.h>

#include <utility>

#include "vireo/genicam/adapter.h"

namespace vireo::genicam {
namespace {

template <typename T>
void unref(T* object) noexcept {
  if (object != nullptr) g_object_unref(object);
}

}  // namespace

template <typename T>
GObjectGuard<T>::GObjectGuard(T* object) noexcept : object_(object) {}

template <typename T>
GObjectGuard<T>::~GObjectGuard() {
  unref(object_);
}

template <typename T>
GObjectGuard<T>::GObjectGuard(GObjectGuard&& other) noexcept : object_(other.release()) {}

template <typename T>
GObjectGuard<T>& GObjectGuard<T>::operator=(GObjectGuard&& other) noexcept {
  if (this != &other) {
    unref(object_);
    object_ = other.release();
  }
  return *this;
}

template <typename T>
T* GObjectGuard<T>::get() const noexcept {
  return object_;
}

template <typename T>
T* GObjectGuard<T>::release() noexcept {
  return std::exchange(object_, nullptr);
}

template <typename T>
void GObjectGuard<T>::reset(T* object) noexcept {
  unref(object_);
  object_ = object;
}

template <typename T>
GObjectGuard<T>::operator bool() const noexcept {
  return object_ != nullptr;
}

template class GObjectGuard<ArvDevice>;
template class GObjectGuard<ArvStream>;
template class GObjectGuard<ArvBuffer>;
template class GObjectGuard<GInetAddress>;

GErrorGuard::~GErrorGuard() {
  if (error != nullptr) g_error_free(error);
}

std::string GErrorGuard::message() const {
  if (error == nullptr || error->message == nullptr) return {};
  return error->message;
}

}  // namespace vireo::genicam
