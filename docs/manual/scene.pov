// The manual's picture: a street after rain, just after sunset. Fine bright edges everywhere, since those are what
// the effect works on. With Declare=Cutout=1 the cinema's sign alone, without background.
#version 3.7;

#ifndef (Cutout) #declare Cutout = 0; #end

global_settings { assumed_gamma 1 max_trace_level 6 }
#default { finish { ambient 0 diffuse 0.8 } }

#declare Dice = seed(35);
#declare Bold = "DejaVuSans-Bold.ttf"

#macro Glowing(Color, Strength)
  pigment { color Color } finish { emission Strength diffuse 0 }
#end

#macro Between(From, To) (From + (To - From) * rand(Dice)) #end

// ---- Light -------------------------------------------------------------------------------------------------------

#declare WarmLight = rgb <1, 0.66, 0.34>;
#declare Tungsten = rgb <1, 0.78, 0.48>;

// A disc that faces the camera, brightest in its middle, for the shine around a lamp.
#macro Shine(Place, Radius, Color, Strength)
  disc { 0, -z, 1
    pigment { spherical poly_wave 3 color_map { [0 Color transmit 1] [1 Color transmit 1 - Strength] } }
    finish { emission 1 diffuse 0 }
    scale Radius translate Place - z * 0.25 no_shadow no_reflection
  }
#end

// ---- Houses ------------------------------------------------------------------------------------------------------

// One window in the plane z = 0, its lower left corner at the origin.
#macro Window(Width, Height)
  union {
    #local Lit = rand(Dice);
    box { 0, <Width, Height, 0.02> translate z * 0.12
      #if (Lit < 0.42)
        #local Warmth = rand(Dice);
        pigment { gradient y color_map {
          [0 rgb <1, 0.62 + 0.25 * Warmth, 0.28 + 0.45 * Warmth> * Between(0.5, 1.1)]
          [1 rgb <1, 0.70 + 0.25 * Warmth, 0.36 + 0.45 * Warmth> * Between(0.9, 1.7)] } scale Height }
        finish { emission 1 diffuse 0 }
      #else
        pigment { rgb <0.02, 0.025, 0.035> } finish { reflection { 0.35 } }
      #end
    }
    #if (Lit < 0.42 & rand(Dice) < 0.5) // a curtain
      box { <0, 0, 0.08>, <Width * Between(0.2, 0.45), Height, 0.1> pigment { rgb <0.25, 0.12, 0.05> } finish { emission 0.8 } }
    #end
    // Frame and bars.
    #local Bar = 0.035;
    union {
      box { <Width / 2 - Bar, 0, 0.02>, <Width / 2 + Bar, Height, 0.09> }
      box { <0, Height * 0.68 - Bar, 0.02>, <Width, Height * 0.68 + Bar, 0.09> }
      pigment { rgb 0.05 }
    }
    union {
      box { <-0.1, -0.12, -0.12>, <Width + 0.1, 0, 0.1> }
      box { <-0.1, Height, -0.06>, <Width + 0.1, Height + 0.14, 0.1> }
      pigment { rgb <0.42, 0.38, 0.34> }
    }
  }
#end

// A house front in the plane z = 0 from the origin to the right and up.
#macro Front(Width, Floors, Tone)
  #local FloorHeight = 3.2;
  #local Height = Floors * FloorHeight + 1;
  #local Columns = floor(Width / 2.1);
  #local Step = Width / Columns;
  union {
    difference {
      box { 0, <Width, Height, 8> }
      #for (I, 0, Columns - 1) #for (J, 0, Floors - 1)
        box { <0, 0, -1>, <1.15, 1.9, 0.3> translate <Step * I + (Step - 1.15) / 2, J * FloorHeight + 1, 0> }
      #end #end
      pigment { brick color Tone * 0.75, color Tone mortar 0.012 scale 0.09 }
      normal { granite 0.15 scale 0.5 }
    }
    #for (I, 0, Columns - 1) #for (J, 0, Floors - 1)
      object { Window(1.15, 1.9) translate <Step * I + (Step - 1.15) / 2, J * FloorHeight + 1, 0> }
    #end #end
    box { <-0.15, Height - 0.1, -0.35>, <Width + 0.15, Height + 0.35, 0.3> pigment { Tone * 1.1 } }
  }
#end

// ---- The cinema's sign -------------------------------------------------------------------------------------------

#macro Letter(Text, Size, Thickness)
  #local Shape = text { ttf Bold Text Thickness, 0 scale <Size, Size, 1> }
  object { Shape translate -x * (max_extent(Shape).x + min_extent(Shape).x) / 2 }
#end

#declare Bulb = sphere { 0, 0.062 Glowing(Tungsten, 3.2) no_shadow }

// Upright, faces -z, 1.6 wide, its lower left corner at the origin.
#declare SignHeight = 7.6;
#declare Sign = union {
  box { 0, <1.6, SignHeight, 0.45> pigment { rgb <0.16, 0.012, 0.02> } finish { specular 0.4 roughness 0.02 } }
  box { <0.16, 0.16, -0.02>, <1.44, SignHeight - 0.16, 0.1> pigment { rgb <0.035, 0.012, 0.03> } }
  #local Word = array[6] { "C", "I", "N", "E", "M", "A" }
  #for (I, 0, 5)
    object { Letter(Word[I], 1.22, 0.06)
      translate <0.8, SignHeight - 1.32 - I * 1.19, -0.09> Glowing(rgb <1, 0.93, 0.86>, 1.5) no_shadow }
  #end
  #for (I, 0, 30)
    object { Bulb translate <0.08, 0.1 + I * (SignHeight - 0.2) / 30, -0.03> }
    object { Bulb translate <1.52, 0.1 + I * (SignHeight - 0.2) / 30, -0.03> }
  #end
  #for (I, 1, 5)
    object { Bulb translate <0.08 + I * 1.44 / 6, 0.1, -0.03> }
    object { Bulb translate <0.08 + I * 1.44 / 6, SignHeight - 0.1, -0.03> }
  #end
}

// The board above the entrance: white, lit from inside, black letters. 5 wide.
#declare Board = union {
  box { 0, <5, 1.7, 0.8> pigment { rgb <0.16, 0.012, 0.02> } }
  box { <0.12, 0.12, -0.02>, <4.88, 1.58, 0.1> Glowing(rgb <1, 0.94, 0.82>, 1.15) no_shadow }
  object { Letter("PRISMATIC NIGHTS", 0.41, 0.02) translate <2.42, 1.0, -0.05> pigment { rgb 0.005 } }
  object { Letter("LAST SHOW 22:30", 0.41, 0.02) translate <2.42, 0.36, -0.05> pigment { rgb <0.25, 0, 0.005> } }
  #for (I, 0, 24)
    object { Bulb translate <0.06 + I * 4.88 / 24, 0.05, -0.03> }
    object { Bulb translate <0.06 + I * 4.88 / 24, 1.65, -0.03> }
  #end
}

// ---- Trees and lamps ---------------------------------------------------------------------------------------------

#macro Branch(From, Along, Length, Radius, Depth)
  #local To = From + Along * Length;
  cone { From, Radius, To, Radius * 0.68 }
  sphere { To, Radius * 0.68 }
  #if (Depth > 0)
    #local Twigs = 2 + (rand(Dice) < 0.55);
    #for (I, 1, Twigs)
      #local Turned = vnormalize(Along + 0.95 * <rand(Dice) - 0.5, rand(Dice) - 0.36, rand(Dice) - 0.5> * 1.35);
      Branch(To, Turned, Length * Between(0.66, 0.86), Radius * 0.66, Depth - 1)
    #end
  #end
#end

#macro Tree(Height)
  union { Branch(0, y, Height * 0.27, Height * 0.02, 7) pigment { rgb <0.03, 0.022, 0.018> } }
#end

#declare LampHeight = 4.6;
#macro Lamp(Place, Near)
  union {
    cylinder { 0, y * LampHeight, 0.055 }
    cylinder { 0, y * 0.9, 0.11 }
    cone { y * (LampHeight + 0.42), 0.3, y * (LampHeight + 0.62), 0.04 }
    torus { 0.2, 0.025 translate y * LampHeight }
    pigment { rgb 0.02 } finish { specular 0.3 }
    translate Place
  }
  sphere { y * (LampHeight + 0.22), 0.22 translate Place Glowing(rgb <1, 0.86, 0.62>, 2.6) no_shadow }
  Shine(Place + y * (LampHeight + 0.22), 1.5, rgb <1, 0.62, 0.3>, 0.75)
  light_source { Place + y * (LampHeight + 0.2) WarmLight * 1.25 fade_distance 3 fade_power 2 #if (!Near) shadowless #end }
#end

// Small lamps on a wire across the street at depth z.
#macro Garland(Depth, Height, Count)
  #local Sag = 0.9;
  #for (I, 0, Count)
    #local U = I / Count;
    #local Here = <-6 + 12 * U, Height - Sag * 4 * U * (1 - U), Depth>;
    #if (I > 0) cylinder { Before, Here, 0.012 pigment { rgb 0.01 } } #end
    #if (I > 0 & I < Count)
      sphere { Here - y * 0.12, 0.075 Glowing(Tungsten, 3) no_shadow }
      Shine(Here - y * 0.12, 0.42, rgb <1, 0.6, 0.28>, 0.6)
    #end
    #local Before = Here;
  #end
#end

// ---- The two pictures --------------------------------------------------------------------------------------------

#if (Cutout)

camera { location <0, 0, -10> right x * 16 / 9 up y look_at <0, 0, 0> angle 50 }
light_source { <-5, 7, -9> rgb 0.8 }
disc { 0, z, 1 pigment { spherical color_map { [0 rgb <1, 0.3, 0.12> transmit 1] [1 rgb <1, 0.3, 0.12> transmit 0.5] } }
  finish { emission 1 diffuse 0 } scale <5.2, 2.4, 1> translate z * 1.5 no_shadow }
#local Face = text { ttf Bold "CINEMA" 0.02, 0 }
#local Body = text { ttf Bold "CINEMA" 0.35, 0 }
#local Middle = (max_extent(Body) + min_extent(Body)) * <0.5, 0.5, 0>;
union {
  object { Body pigment { rgb <0.9, 0.06, 0.08> } finish { emission 0.4 specular 0.5 roughness 0.02 } }
  object { Face translate -z * 0.021 Glowing(rgb <1, 0.93, 0.84>, 1.1) no_shadow }
  translate -Middle scale <1.72, 1.72, 1> rotate y * 14
}
#for (Side, -1, 1, 2)
  #for (I, 0, 26)
    #local Here = <-4.1 + 8.2 * I / 26, Side * (1.55 - 0.35 * pow(I / 13 - 1, 2)), 0>;
    sphere { Here, 0.085 Glowing(Tungsten, 1.6) no_shadow }
    #if (I > 0) cylinder { Before, Here, 0.018 pigment { rgb <0.9, 0.6, 0.3> } finish { emission 0.5 } } #end
    #local Before = Here;
  #end
#end

#else

camera { location <-0.7, 1.75, -14.5> right x * 16 / 9 up y look_at <0.1, 4.1, 4> angle 66 }

// The sky, an object because a background would be transparent.
sphere { 0, 1000 inverse no_shadow finish { emission 1 diffuse 0 } pigment { gradient y color_map {
  [0.00 rgb <1.30, 0.62, 0.30>] [0.06 rgb <1.15, 0.66, 0.42>] [0.16 rgb <0.72, 0.60, 0.62>]
  [0.32 rgb <0.26, 0.36, 0.58>] [0.60 rgb <0.07, 0.13, 0.30>] [1.00 rgb <0.02, 0.05, 0.14>] } scale 1000 } }
light_source { <0, 60, 40> rgb <0.05, 0.07, 0.13> shadowless }
light_source { <0, 20, 90> rgb <0.16, 0.09, 0.05> shadowless }

// Wet asphalt, puddles in it.
plane { y, 0
  texture { bozo texture_map {
    [0.42 pigment { rgb 0.018 } normal { bumps 0.05 scale <0.5, 1, 0.16> } finish { reflection { 0.12, 0.75 fresnel } conserve_energy specular 0.2 } ]
    [0.56 pigment { granite color_map { [0 rgb 0.012] [1 rgb 0.05] } scale 0.1 } normal { granite 0.35 scale 0.12 } finish { reflection { 0.03, 0.4 fresnel } conserve_energy } ] }
    turbulence 0.4 scale <2.6, 1, 1.5> }
  interior { ior 1.33 }
}
// A crossing.
#for (I, -5, 5)
  box { <I * 0.95 - 0.27, 0, -4.6>, <I * 0.95 + 0.27, 0.004, -1.4>
    pigment { granite color_map { [0.3 rgb 0.75] [0.7 rgb 0.5] } scale 0.6 } normal { granite 0.1 scale 0.2 } finish { reflection 0.04 } }
#end
// Pavements.
#for (Side, -1, 1, 2)
  union {
    box { <5.2 * Side, 0, -20>, <9 * Side, 0.14, 60> }
    box { <5.05 * Side, 0, -20>, <5.25 * Side, 0.16, 60> }
    pigment { brick color rgb 0.1, color rgb 0.15 mortar 0.02 scale 0.1 } finish { reflection 0.06 }
  }
#end

// The left side, from the camera away; the right side behind the cinema.
union {
  object { Front(12.6, 4, rgb <0.40, 0.30, 0.24>) }
  object { Front(10.5, 5, rgb <0.36, 0.33, 0.30>) translate x * 12.9 }
  object { Front(14.7, 4, rgb <0.42, 0.24, 0.19>) translate x * 23.7 }
  object { Front(12.6, 6, rgb <0.34, 0.30, 0.27>) translate x * 38.7 }
  rotate y * -90 translate <-7.6, 0, -13>
}
union {
  object { Front(12.6, 5, rgb <0.38, 0.33, 0.28>) }
  object { Front(12.6, 3, rgb <0.40, 0.26, 0.20>) translate x * 12.9 }
  object { Front(10.5, 5, rgb <0.33, 0.31, 0.29>) translate x * 25.8 }
  object { Front(12.6, 4, rgb <0.41, 0.30, 0.22>) translate x * 36.6 }
  scale <1, 1, -1> rotate y * -90 translate <7.6, 0, -13>
}
// The town beyond.
#for (I, 0, 11)
  #local Wide = Between(3, 6);
  box { <-26 + I * 4.6, 0, 62 + I - floor(I / 2) * 2>, <-26 + I * 4.6 + Wide, Between(4, 11), 70> pigment { rgb <0.035, 0.04, 0.06> } }
#end
#for (I, 0, 90)
  box { 0, <0.28, 0.42, 0.01> translate <Between(-9, 9), Between(0.6, 6), 61.4> Glowing(rgb <1, 0.72, 0.4>, Between(0.5, 1.6)) no_shadow }
#end
union { // a tower
  box { <-0.9, 0, 0>, <0.9, 17, 1.8> }
  cone { <0, 17, 0.9>, 1.15, <0, 23, 0.9>, 0.02 }
  pigment { rgb <0.04, 0.04, 0.06> } translate <-2.9, 0, 60>
}
disc { <-2.9, 14.6, 59.9>, z, 0.62 Glowing(rgb <1, 0.9, 0.7>, 1.5) }

object { Sign translate <4.6, 3.7, 4.6> }
Shine(<5.4, 7.5, 4.5>, 5, rgb <1, 0.35, 0.2>, 0.3)
object { Board rotate -y * 6 translate <2.9, 2.05, 4.7> }
light_source { <5.4, 7, 3.7> rgb <1, 0.75, 0.55> * 1.4 fade_distance 2.5 fade_power 2 }
light_source { <5.0, 1.9, 3.7> rgb <1, 0.9, 0.7> * 1.6 fade_distance 2 fade_power 2 }

object { Tree(9.5) translate <-5.9, 0, -3.6> }
object { Tree(8.5) rotate y * 70 translate <-5.9, 0, 9> }
object { Tree(8) rotate y * 200 translate <6.2, 0, 14> }

#for (I, 0, 4)
  Lamp(<-5.6, 0.14, -6.4 + I * 11>, (I < 2))
  Lamp(<5.6, 0.14, -2.0 + I * 11>, (I < 2))
#end
Garland(2, 7.4, 22)
Garland(9, 7.8, 22)
Garland(18, 8.2, 22)

#end
