#include "zelvo/IRenderBackend.h"

#include <utility>

IRenderBackend::Guard::Guard() noexcept = default;

IRenderBackend::Guard::Guard(std::shared_ptr<void> mapping) noexcept : mapping_(std::move(mapping)) {}

IRenderBackend::Guard::~Guard() = default;

IRenderBackend::Guard::Guard(Guard&& other) noexcept = default;

IRenderBackend::Guard& IRenderBackend::Guard::operator=(Guard&& other) noexcept = default;

IRenderBackend::~IRenderBackend() = default;
