// HevoContainer.h: the container facades of the base library.
//
// A facade wraps one container, held by value, behind a small polymorphic
// class chain: TBaseContainerFacade<C> <- TContainerFacade<C> <- the user
// class (THevoBlob over a byte vector, the keychain over a map). The facades
// add nothing but a virtual destructor and direct access to the container;
// whoever holds the facade owns the container.
#ifndef HEVO_CONTAINER_H
#define HEVO_CONTAINER_H

#include "HevoExport.h"

namespace HevoContainer {

// TBaseContainerFacade owns a container of type C by value and hands out
// references to it. The references stay valid as long as the facade lives.
template <typename C>
class HEVO_EXPORT TBaseContainerFacade {
 public:
  TBaseContainerFacade() = default;
  TBaseContainerFacade(const TBaseContainerFacade&) = default;
  TBaseContainerFacade& operator=(const TBaseContainerFacade&) = default;
  virtual ~TBaseContainerFacade() = default;

  C& GetContainer() { return container_; }
  const C& GetContainer() const { return container_; }

 private:
  C container_;
};

// TContainerFacade is the layer that user classes derive from.
template <typename C>
class HEVO_EXPORT TContainerFacade : public TBaseContainerFacade<C> {
 public:
  TContainerFacade() = default;
  TContainerFacade(const TContainerFacade&) = default;
  TContainerFacade& operator=(const TContainerFacade&) = default;
  ~TContainerFacade() override = default;
};

}  // namespace HevoContainer

#endif  // HEVO_CONTAINER_H
