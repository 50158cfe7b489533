# placeholder until the install rules land
