#pragma once
// The three appearance references an object or an index list holds
// (attributes, texture, material), in scene files: written as IDs, read
// back after the whole file. Holder has Get/SetAttributes, Get/SetTexture
// and Get/SetMaterial.
#include "qelon/appearance/qelattr.h"
#include "qelon/appearance/qelmat.h"
#include "qelon/appearance/qeltex.h"
#include "qelon/exchange/qeliexchange.h"

template <class Holder>
void QelWriteAppearanceRefs(IQelExchange* exchange, const Holder* holder) {
  exchange->AddRef("Attributes", holder->GetAttributes());
  exchange->AddRef("Texture", holder->GetTexture());
  exchange->AddRef("Material", holder->GetMaterial());
}

// In ReadValues: records the references for ReadRef.
inline void QelReadAppearanceRefs(IQelExchange* exchange, TPersistent* holder) {
  exchange->GetRef("Attributes", holder);
  exchange->GetRef("Texture", holder);
  exchange->GetRef("Material", holder);
}

// In ReadRef: hands the objects found to the holder's setters.
template <class Holder>
void QelResolveAppearanceRefs(IQelExchange* exchange, Holder* holder) {
  TQelAttributes* attributes = nullptr;
  if (exchange->GetRefObj("Attributes", attributes)) holder->SetAttributes(attributes);
  TQelTexture* texture = nullptr;
  if (exchange->GetRefObj("Texture", texture)) holder->SetTexture(texture);
  TQelMaterial* material = nullptr;
  if (exchange->GetRefObj("Material", material)) holder->SetMaterial(material);
}
